# `cmake --build DIR --target reference`: the reference of the headers that players and device
# makers include, with the pages of docs/, in DIR/reference/html. A warning is an error.
find_package(Doxygen)
if(NOT DOXYGEN_FOUND)
  return()
endif()
set(DOXYGEN_PROJECT_NAME libavrdecoder)
set(DOXYGEN_OUTPUT_DIRECTORY reference)
set(DOXYGEN_STRIP_FROM_PATH ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
set(DOXYGEN_USE_MDFILE_AS_MAINPAGE ${PROJECT_SOURCE_DIR}/README.md)
set(DOXYGEN_JAVADOC_AUTOBRIEF YES)
set(DOXYGEN_QUIET YES)
set(DOXYGEN_WARN_AS_ERROR FAIL_ON_WARNINGS)
# A parameter that its name explains, and a result that is no more than 0, go without a line.
set(DOXYGEN_WARN_IF_INCOMPLETE_DOC NO)
set(DOXYGEN_HAVE_DOT NO)
set(DOXYGEN_GENERATE_TREEVIEW YES)
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_EXPAND_ONLY_PREDEF YES)
set(DOXYGEN_PREDEFINED AVR_API=)
set(DOXYGEN_FILE_PATTERNS *.h *.md *.dox)
doxygen_add_docs(reference include/decoder platform docs README.md CONTRIBUTING.md CHANGELOG.md
  COMMENT "The reference, in reference/html")
