# `cmake --build --preset linux --target reference`: pages for users of the library, made of its installed headers and
# of the documents, in build/linux/reference/html. What is undocumented or wrongly described is an error.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND OR PROJECT_SOURCE_DIR MATCHES " ")
    add_custom_target(reference
        COMMAND ${CMAKE_COMMAND} -E echo "The reference is made by doxygen, in a folder without blanks in its path:"
            "install it and configure again."
        COMMAND ${CMAKE_COMMAND} -E false)
    return()
endif()

set(DOXYGEN_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/reference)
set(DOXYGEN_USE_MDFILE_AS_MAINPAGE README.md)
set(DOXYGEN_FILTER_PATTERNS "*.h=sh cmake/reference_filter.sh")
set(DOXYGEN_STRIP_FROM_PATH ${PROJECT_SOURCE_DIR})
set(DOXYGEN_STRIP_FROM_INC_PATH ${PROJECT_SOURCE_DIR})
set(DOXYGEN_INCLUDE_PATH ${PROJECT_SOURCE_DIR})
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_PREDEFINED GAIZIOR_STATIC "__attribute__(what)=")
set(DOXYGEN_JAVADOC_AUTOBRIEF YES)
set(DOXYGEN_DISTRIBUTE_GROUP_DOC YES)
set(DOXYGEN_GENERATE_TREEVIEW YES)
set(DOXYGEN_SORT_MEMBER_DOCS NO)
set(DOXYGEN_EXCLUDE_SYMBOLS gaizior::SectionInCell)
set(DOXYGEN_ENUM_VALUES_PER_LINE 0)
set(DOXYGEN_SHOW_INCLUDE_FILES NO)
set(DOXYGEN_VERBATIM_HEADERS NO)
set(DOXYGEN_QUIET YES)
set(DOXYGEN_WARN_AS_ERROR FAIL_ON_WARNINGS)

get_target_property(headers gaizior HEADER_SET)
file(GLOB documents docs/*.md)
doxygen_add_docs(reference README.md ${documents} ${headers} COMMENT "Making the reference")
