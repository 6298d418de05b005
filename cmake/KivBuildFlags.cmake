# Compiler and linker settings of every target, and where built things go.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

# Only what a header exports by its macro is visible outside a shared library.
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# -fPIC everywhere, programs too: Qt is built with reduced relocations and refuses -fPIE.
add_compile_options(-fPIC -Wall -Wextra -Werror)

# One layout in the build tree and after installation, so that a program finds
# share/kiv at ../share/kiv and the libraries at ../lib from where it stands.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set(KIV_GENERATED_DIR ${CMAKE_BINARY_DIR}/generated)
set(KIV_SHARE_DIR ${CMAKE_BINARY_DIR}/share/kiv)

set(kiv_sanitizers ${KIV_SANITIZE})
if(KIV_FUZZER)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
    message(FATAL_ERROR "KIV_FUZZER needs clang; the other builds replay the kept corpus")
  endif()
  string(APPEND kiv_sanitizers ",fuzzer-no-link")
endif()
if(kiv_sanitizers)
  string(REGEX REPLACE "^," "" kiv_sanitizers "${kiv_sanitizers}")
  add_compile_options(-fsanitize=${kiv_sanitizers} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${kiv_sanitizers})
  if(kiv_sanitizers MATCHES undefined)
    # A finding ends the test: nobody reads a warning in a passing run.
    add_compile_options(-fno-sanitize-recover=all)
    add_link_options(-fno-sanitize-recover=all)
  endif()
else()
  # A shared library that forgets what it stands on fails here, not in its host.
  # (Under a sanitizer the run-time library is in the program, so this cannot hold.)
  add_link_options($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:LINKER:--no-undefined>)
endif()
