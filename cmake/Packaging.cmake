# What `cmake --install` lays down, and how other projects find it. The installed tree may be moved
# as a whole: nothing in it names its own place. A component is named after its Debian package.
include(CMakePackageConfigHelpers)

foreach(name decoder platform)
  install(TARGETS avr${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          COMPONENT libavr${name}1 NAMELINK_COMPONENT libavrdecoder-dev)
endforeach()
install(TARGETS avrcodecs avrmp4 avrhttp LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT libavrplatform1)
# The libraries find each other in their own folder, where a device puts its platform.
set_target_properties(avrdecoder avrplatform PROPERTIES INSTALL_RPATH "$ORIGIN")
if(TARGET avrplay)
  file(RELATIVE_PATH avr_libs_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(avrplay PROPERTIES INSTALL_RPATH "$ORIGIN/${avr_libs_from_bin}")
  install(TARGETS avrplay RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT avrplay)
  install(FILES ${PROJECT_BINARY_DIR}/player/avrplay.1.gz
          DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT avrplay)
  install(FILES player/avrplay.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
          RENAME avrplay COMPONENT avrplay)
endif()

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME libavrdecoder-dev)
# Headers keep their folders, so that they are included as they are here: "decoder/IDecoder.h".
set(avr_headers ${CMAKE_INSTALL_INCLUDEDIR}/avrdecoder)
install(DIRECTORY include/decoder platform DESTINATION ${avr_headers} FILES_MATCHING PATTERN *.h)
install(FILES host/sound/SoundDevice.h host/sound/ISoundSink.h host/sound/Sinks.h
        DESTINATION ${avr_headers}/host/sound)
install(FILES host/stream/FileStream.h DESTINATION ${avr_headers}/host/stream)

install(FILES examples/minimal_player.cpp
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libavrdecoder-dev/examples)

# pkg-config: avrdecoder
file(RELATIVE_PATH avr_pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" avr_pc_prefix ${avr_pc_prefix})
file(RELATIVE_PATH avr_pc_libdir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH avr_pc_includedir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(cmake/avrdecoder.pc.in avrdecoder.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/avrdecoder.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# find_package(AvrDecoder)
set(avr_package ${CMAKE_INSTALL_LIBDIR}/cmake/AvrDecoder)
configure_package_config_file(cmake/AvrDecoderConfig.cmake.in AvrDecoderConfig.cmake
  INSTALL_DESTINATION ${avr_package}
  PATH_VARS CMAKE_INSTALL_LIBDIR avr_headers)
write_basic_package_version_file(AvrDecoderConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/AvrDecoderConfig.cmake
              ${PROJECT_BINARY_DIR}/AvrDecoderConfigVersion.cmake
        DESTINATION ${avr_package})
include(DebianPackages)
