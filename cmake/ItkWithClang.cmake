# Options for targets that include headers of ITK: Debian's refuse clang for no good reason.
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    set(zarngi_itk_options "SHELL:-include ${CMAKE_CURRENT_LIST_DIR}/itkWithClang.h")
endif()
