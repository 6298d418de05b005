# What the tree takes from the system. scripts/install-deps.sh installs the same list.

find_package(Threads REQUIRED)
find_package(Qt5 5.15 REQUIRED COMPONENTS Core OPTIONAL_COMPONENTS Test)
find_package(SQLite3 REQUIRED)
find_package(nlohmann_json 3.11 REQUIRED)
find_package(pugixml 1.12 REQUIRED)

find_path(KIV_ASIO_INCLUDE_DIR asio.hpp REQUIRED)
add_library(kiv_asio INTERFACE)
target_include_directories(kiv_asio SYSTEM INTERFACE ${KIV_ASIO_INCLUDE_DIR})
# Under clang its header finds out about aligned allocation only when a header of the standard library
# came before it; then one object allocates in one way and another frees in the other.
target_compile_definitions(kiv_asio INTERFACE ASIO_STANDALONE ASIO_DISABLE_STD_ALIGNED_ALLOC)
target_link_libraries(kiv_asio INTERFACE Threads::Threads)

find_path(KIV_DEFLATE_INCLUDE_DIR libdeflate.h REQUIRED)
find_library(KIV_DEFLATE_LIBRARY deflate REQUIRED)
add_library(kiv_deflate INTERFACE)
target_include_directories(kiv_deflate SYSTEM INTERFACE ${KIV_DEFLATE_INCLUDE_DIR})
target_link_libraries(kiv_deflate INTERFACE ${KIV_DEFLATE_LIBRARY})

# Makes the one program that links it GPL-3-or-later in binary form (LICENSE).
find_path(KIV_READLINE_INCLUDE_DIR readline/readline.h REQUIRED)
find_library(KIV_READLINE_LIBRARY readline REQUIRED)
add_library(kiv_readline INTERFACE)
target_include_directories(kiv_readline SYSTEM INTERFACE ${KIV_READLINE_INCLUDE_DIR})
# The terminals' database, which the former stands on.
find_path(KIV_TERMINFO_INCLUDE_DIR term.h REQUIRED)
find_library(KIV_TERMINFO_LIBRARY NAMES tinfo ncursesw ncurses REQUIRED)
target_include_directories(kiv_readline SYSTEM INTERFACE ${KIV_TERMINFO_INCLUDE_DIR})
target_link_libraries(kiv_readline INTERFACE ${KIV_READLINE_LIBRARY} ${KIV_TERMINFO_LIBRARY})

# Tests run with the system's interpreter: Debian's own Python packages are only there.
set(KIV_PYTHON /usr/bin/python3)
