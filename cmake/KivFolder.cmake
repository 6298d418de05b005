# One function for each kind of folder. Sources are found by name, so that a new file needs no
# line here; a folder that has none yet still configures.

# Sources and headers of the calling folder (not of folders below) into `out`.
# `DIR` names another folder; `MAIN` keeps main.cpp and *_main.cpp, which otherwise are left out:
# they belong to a program, all else of its folder to a library that its tests link.
function(kiv_glob out)
  cmake_parse_arguments(ARG "" "DIR" "" ${ARGN})
  if(NOT ARG_DIR)
    set(ARG_DIR ${CMAKE_CURRENT_SOURCE_DIR})
  endif()
  file(GLOB files CONFIGURE_DEPENDS ${ARG_DIR}/*.cpp ${ARG_DIR}/*.c ${ARG_DIR}/*.h)
  # A file that is for one kind of system carries it in its name.
  if(WIN32)
    list(FILTER files EXCLUDE REGEX "_posix\\.(cpp|c|h)$")
  else()
    list(FILTER files EXCLUDE REGEX "_windows\\.(cpp|c|h)$")
  endif()
  if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
    list(FILTER files EXCLUDE REGEX "_linux\\.(cpp|c|h)$")
  endif()
  set(mains ${files})
  list(FILTER mains INCLUDE REGEX "/([a-z_]*_)?main\\.(c|cpp)$")
  list(FILTER files EXCLUDE REGEX "/([a-z_]*_)?main\\.(c|cpp)$")
  set(${out} ${files} PARENT_SCOPE)
  set(${out}_mains ${mains} PARENT_SCOPE)
endfunction()

# A target needs one source: an empty folder gets an empty one.
function(kiv_fill_empty target files)
  set(sources ${files})
  list(FILTER sources INCLUDE REGEX "\\.(c|cpp)$")
  if(NOT sources)
    set(empty ${CMAKE_BINARY_DIR}/empty/${target}.cpp)
    if(NOT EXISTS ${empty})
      file(WRITE ${empty} "// Stands for a folder without sources.\n")
    endif()
    target_sources(${target} PRIVATE ${empty})
  endif()
endfunction()

# Runs moc over the target's files. CMake's own step does not notice a header that comes into the list
# later, and the class is left without its meta-object: when the list has changed, the step's mark is
# taken away, so that it runs.
function(kiv_automoc target)
  set_target_properties(${target} PROPERTIES AUTOMOC ON)
  get_target_property(files ${target} SOURCES)
  set(known ${CMAKE_CURRENT_BINARY_DIR}/${target}_moc_files.txt)
  set(before)
  if(EXISTS ${known})
    file(READ ${known} before)
  endif()
  if(NOT before STREQUAL files)
    file(WRITE ${known} "${files}")
    file(REMOVE ${CMAKE_CURRENT_BINARY_DIR}/${target}_autogen/timestamp)
  endif()
endfunction()

# Object target of the calling folder. AUTOMOC when it has Qt objects.
function(kiv_object_folder name)
  cmake_parse_arguments(ARG "AUTOMOC" "" "LIBS;DEFINES;HEADERS" ${ARGN})
  kiv_glob(files)
  add_library(${name} OBJECT ${files} ${ARG_HEADERS})
  kiv_fill_empty(${name} "${files}")
  if(ARG_AUTOMOC)
    kiv_automoc(${name})
  endif()
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include
                                            ${KIV_GENERATED_DIR})
  target_compile_definitions(${name} PRIVATE ${ARG_DEFINES})
  target_link_libraries(${name} PUBLIC ${ARG_LIBS})
endfunction()

# A folder of the support layer: no Qt, and the export macro says "building".
function(kiv_platform_folder name)
  cmake_parse_arguments(ARG "" "" "LIBS" ${ARGN})
  kiv_object_folder(${name} LIBS ${ARG_LIBS} DEFINES KIVPLATFORM_BUILD)
  set_property(GLOBAL APPEND PROPERTY KIV_PLATFORM_FOLDERS ${name})
endfunction()

# A folder of the module: object target NAME_objects and static library NAME of the same objects.
# It sees the platform's headers and does not bring the platform: who links it chooses the real one
# or the fake.
function(kiv_module_folder name)
  cmake_parse_arguments(ARG "AUTOMOC" "" "LIBS;HEADERS" ${ARGN})
  set(automoc)
  if(ARG_AUTOMOC)
    set(automoc AUTOMOC)
  endif()
  kiv_object_folder(${name}_objects ${automoc} LIBS Qt5::Core Threads::Threads ${ARG_LIBS}
                    DEFINES SVCKIV_BUILD HEADERS ${ARG_HEADERS})
  add_library(${name} STATIC $<TARGET_OBJECTS:${name}_objects>)
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include)
  target_link_libraries(${name} PUBLIC Qt5::Core Threads::Threads ${ARG_LIBS})
  set_property(GLOBAL APPEND PROPERTY KIV_MODULE_FOLDERS ${name}_objects)
endfunction()

# Object files of all targets in the list `targets`, less those named behind it.
function(kiv_objects_of out targets)
  set(objects)
  foreach(target IN LISTS targets)
    if(NOT target IN_LIST ARGN)
      list(APPEND objects $<TARGET_OBJECTS:${target}>)
    endif()
  endforeach()
  set(${out} ${objects} PARENT_SCOPE)
endfunction()

# Keeps library templates' instantiations, which their own headers mark visible, out of a shared
# library's symbols. A sanitizer needs some of them seen, so its builds go without.
function(kiv_hide_instantiations target map)
  if(NOT KIV_SANITIZE AND NOT WIN32)
    target_link_options(${target} PRIVATE LINKER:--version-script=${map})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
  endif()
endfunction()

# Library LIB of the calling folder, and program NAME from its main file once there is one.
function(kiv_program_folder name)
  cmake_parse_arguments(ARG "AUTOMOC" "LIB" "LIBS" ${ARGN})
  kiv_glob(files)
  add_library(${ARG_LIB} STATIC ${files})
  kiv_fill_empty(${ARG_LIB} "${files}")
  if(ARG_AUTOMOC)
    kiv_automoc(${ARG_LIB})
  endif()
  target_include_directories(${ARG_LIB} PUBLIC ${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/include
                                               ${KIV_GENERATED_DIR})
  target_link_libraries(${ARG_LIB} PUBLIC ${ARG_LIBS})
  if(files_mains)
    add_executable(${name} ${files_mains})
    target_link_libraries(${name} PRIVATE ${ARG_LIB})
    install(TARGETS ${name} RUNTIME)
  endif()
endfunction()
