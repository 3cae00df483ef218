# For 32-bit ARM: Debian's cross compiler with the sysroot of `scripts/armhf-sysroot`, and the tests
# under qemu's emulation of a process. Whatever is linked, and what it then runs with, is the
# sysroot's alone: the compiler's own copies of the C and C++ libraries stay out.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(AVR_ARMHF_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/armhf-sysroot CACHE PATH
    "What scripts/armhf-sysroot has made")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES AVR_ARMHF_SYSROOT)
get_filename_component(CMAKE_SYSROOT ${AVR_ARMHF_SYSROOT} ABSOLUTE)
if(CMAKE_SYSROOT MATCHES "[ \t]")
  message(FATAL_ERROR "pkg-config cannot do with the blank in ${CMAKE_SYSROOT}; "
    "make the sysroot elsewhere and name it with -DAVR_ARMHF_SYSROOT=")
endif()

set(avr_triple arm-linux-gnueabihf)
file(GLOB avr_gcc ${CMAKE_SYSROOT}/usr/lib/gcc/${avr_triple}/*)
if(NOT avr_gcc)
  message(FATAL_ERROR "There is no sysroot in ${CMAKE_SYSROOT}; run scripts/armhf-sysroot")
endif()

set(CMAKE_CXX_COMPILER ${avr_triple}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${avr_triple})
get_filename_component(avr_gcc_version ${avr_gcc} NAME)
set(avr_include ${CMAKE_SYSROOT}/usr/include)
# Notes on what g++ 7 passed otherwise are of no use: all is built by one compiler.
set(CMAKE_CXX_FLAGS_INIT "-nostdinc -nostdinc++ -Wno-psabi")
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES
  ${avr_include}/c++/${avr_gcc_version} ${avr_include}/${avr_triple}/c++/${avr_gcc_version}
  ${avr_gcc}/include ${avr_include}/${avr_triple} ${avr_include})
foreach(avr_folder ${avr_gcc} ${CMAKE_SYSROOT}/usr/lib/${avr_triple} ${CMAKE_SYSROOT}/lib/${avr_triple})
  string(APPEND CMAKE_CXX_FLAGS_INIT " -B${avr_folder}")
endforeach()

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(avr_kind LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${avr_kind} ONLY)
endforeach()
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
  ${CMAKE_SYSROOT}/usr/lib/${avr_triple}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
find_program(AVR_QEMU_ARM qemu-arm REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${AVR_QEMU_ARM} -L ${CMAKE_SYSROOT})
