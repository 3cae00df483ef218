# The Debian packages, by CPack: `scripts/package`.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME avrdecoder)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # it would stand in front of each package's own
set(CPACK_PACKAGE_VENDOR "libavrdecoder")
set(CPACK_PACKAGE_CONTACT "libavrdecoder developers <developers@avrdecoder.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
  GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Other packages' libraries by what is linked, each other's by name: they are made for each other.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src ${PROJECT_BINARY_DIR}/host)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

# Every package has the licence and the changes. What is inside a package and not beside it, a static
# library or one of headers, may be given on with its notice only, which Debian has.
execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  OUTPUT_FILE ${PROJECT_BINARY_DIR}/changelog.gz)
function(avr_package_papers package)
  file(READ ${PROJECT_SOURCE_DIR}/LICENSE text)
  foreach(source ${ARGN})
    if(EXISTS /usr/share/doc/${source}/copyright)
      file(READ /usr/share/doc/${source}/copyright notice)
      string(APPEND text "\n\nCode of ${source} is in this package:\n\n${notice}")
    endif()
  endforeach()
  file(CONFIGURE OUTPUT ${package}.copyright CONTENT "@text@" @ONLY)
  set(folder ${CMAKE_INSTALL_DATADIR}/doc/${package})
  install(FILES ${PROJECT_BINARY_DIR}/${package}.copyright RENAME copyright
          DESTINATION ${folder} COMPONENT ${package} EXCLUDE_FROM_ALL)
  install(FILES ${PROJECT_BINARY_DIR}/changelog.gz
          DESTINATION ${folder} COMPONENT ${package} EXCLUDE_FROM_ALL)
endfunction()

# Whoever holds a library in its folder tells the loader.
file(WRITE ${PROJECT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")

# avr_debian_package(name SECTION s SUMMARY line TEXT text [OURS package...] [DEPENDS package...]
#                    [CONTAINS package...])
function(avr_debian_package name)
  cmake_parse_arguments(ARG "" "SECTION;SUMMARY;TEXT" "OURS;DEPENDS;CONTAINS" ${ARGN})
  string(TOUPPER ${name} upper)
  set(CPACK_COMPONENT_${upper}_DEPENDS ${ARG_OURS} PARENT_SCOPE)
  list(JOIN ARG_DEPENDS ", " depends)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${ARG_SECTION} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${ARG_SUMMARY}\n${ARG_TEXT}" PARENT_SCOPE)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${name} PARENT_SCOPE)
  if(ARG_SECTION MATCHES "libs$")
    set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/triggers PARENT_SCOPE)
  endif()
  avr_package_papers(${name} ${ARG_CONTAINS})
endfunction()

# FDK AAC is in non-free, so what needs it belongs to contrib.
avr_debian_package(libavrplatform1 SECTION libs
  SUMMARY "platform of the audio decoding library on Linux PCs and boards"
  TEXT "Files, read-ahead buffer, sound output over ALSA, MIME table and codecs for
libavrdecoder: what an AV receiver brings itself. FFmpeg's codecs are in
modules that are loaded when they are needed.")
avr_debian_package(libavrdecoder1 SECTION contrib/libs OURS libavrplatform1
  CONTAINS libvorbisidec-dev
  SUMMARY "audio decoding library of an AV receiver's player"
  TEXT "Turns a stream of WAVE, FLAC, Ogg Vorbis, MP3, AAC, HE-AAC, WMA or headerless
PCM into blocks of PCM for a player's callback, and reports what happens as
events on it.")
avr_debian_package(libavrdecoder-dev SECTION contrib/libdevel OURS libavrdecoder1 libavrplatform1
  DEPENDS "libboost-dev (>= 1.74)"
  SUMMARY "audio decoding library of an AV receiver's player, development files"
  TEXT "Headers, pkg-config file and CMake package of libavrdecoder and libavrplatform.")
if(TARGET avrplay)
  avr_debian_package(avrplay SECTION contrib/sound OURS libavrdecoder1 libavrplatform1
    CONTAINS libcli11-dev nlohmann-json3-dev
    SUMMARY "audio player for the command line over libavrdecoder"
    TEXT "Plays and probes WAVE, FLAC, Ogg Vorbis, MP3, AAC, HE-AAC, WMA and headerless
PCM: files, play lists, http and mms streams and radio stations; to a sound
device, a file, standard output or nowhere.")
endif()
include(CPack)
