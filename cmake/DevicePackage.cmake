# What `cmake --install` lays down for a device: the library, which finds the platform in its own
# folder, and the headers for its player. The platform installs itself.
set_target_properties(avrdecoder PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS avrdecoder LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/decoder platform DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/avrdecoder
        FILES_MATCHING PATTERN *.h)
