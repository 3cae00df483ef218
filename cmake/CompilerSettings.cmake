# Warnings, sanitizers and the few options that everything is built with.
add_library(avr_settings INTERFACE)
target_compile_options(avr_settings INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual)
# A wrong argument of printf does harm on one word size and looks right on the other: never let by.
target_compile_options(avr_settings INTERFACE -Wformat=2 -Werror=format)
# Files above 2 GiB, also where off_t has 32 bits.
target_compile_definitions(avr_settings INTERFACE _FILE_OFFSET_BITS=64)
if(AVR_WERROR)
  target_compile_options(avr_settings INTERFACE -Werror)
endif()
if(AVR_SANITIZE)
  add_compile_options(-fsanitize=${AVR_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${AVR_SANITIZE})
  if(AVR_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

# One target per folder that sees only the include directories it is given, so that a folder
# cannot use another behind the build's back.
function(avr_folder name folder)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  list(TRANSFORM ARG_SOURCES PREPEND ${folder}/)
  add_library(${name} OBJECT ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/${folder})
  target_link_libraries(${name} PUBLIC ${ARG_USES})
endfunction()
