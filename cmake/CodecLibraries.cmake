# The open codec libraries of the decoders.
find_package(PkgConfig REQUIRED)
pkg_check_modules(avr_libflac REQUIRED IMPORTED_TARGET flac)
pkg_check_modules(avr_fdk_aac REQUIRED IMPORTED_TARGET fdk-aac)

# Tremor has many names in common with libvorbis and libvorbisfile, which any plug-in may bring into
# the process. So its static archive is linked, and none of its names leaves the library.
pkg_check_modules(avr_ogg REQUIRED IMPORTED_TARGET ogg)
find_path(AVR_TREMOR_INCLUDE tremor/ivorbisfile.h REQUIRED)
find_library(AVR_TREMOR_ARCHIVE NAMES ${CMAKE_STATIC_LIBRARY_PREFIX}vorbisidec${CMAKE_STATIC_LIBRARY_SUFFIX} REQUIRED)
add_library(avr_tremor INTERFACE)
target_include_directories(avr_tremor SYSTEM INTERFACE ${AVR_TREMOR_INCLUDE})
target_link_libraries(avr_tremor INTERFACE ${AVR_TREMOR_ARCHIVE} PkgConfig::avr_ogg)
