# What every folder's CMakeLists.txt calls: one library a folder, one test program a folder under tests/.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
find_package(Threads REQUIRED)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

set(LUMORA_SANITIZE "" CACHE STRING "Value of -fsanitize= for the whole build, or empty")

add_library(lumora_flags INTERFACE)
target_compile_options(lumora_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wno-multichar -Werror)
# "Unique" symbols, which the library's headers make (make_shared's tag is one), would keep the bundle from unloading.
target_compile_options(lumora_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
if(LUMORA_SANITIZE)
  target_compile_options(lumora_flags INTERFACE
      -fsanitize=${LUMORA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
      -Wno-maybe-uninitialized) # g++ 12 sees ghosts in instrumented <regex> and <functional>
  target_link_options(lumora_flags INTERFACE -fsanitize=${LUMORA_SANITIZE})
endif()
# Quoted includes start at the repository's root ("xpc/client.h"); angle brackets are the OS's headers and the library's.
target_compile_options(lumora_flags INTERFACE "SHELL:-iquote ${PROJECT_SOURCE_DIR}")
target_link_libraries(lumora_flags INTERFACE Threads::Threads)

# Adds each folder that has a CMakeLists.txt, in the order given.
function(lumora_add_folders)
  foreach(folder IN LISTS ARGN)
    if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/CMakeLists.txt)
      add_subdirectory(${folder})
    endif()
  endforeach()
endfunction()

# The calling folder's library: target lumora_<folder>, all of its .cpp files, the folders that it stands on.
# OBJECT keeps every object file in what links it (for code that only its static initialisers reach).
function(lumora_folder)
  cmake_parse_arguments(arg "OBJECT" "" "DEPENDS" ${ARGN})
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  string(REPLACE "/" "_" name ${folder})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  list(TRANSFORM arg_DEPENDS REPLACE "/" "_")
  list(TRANSFORM arg_DEPENDS PREPEND "lumora_")
  if(NOT sources)
    add_library(lumora_${name} INTERFACE)
    target_link_libraries(lumora_${name} INTERFACE lumora_flags ${arg_DEPENDS})
  elseif(arg_OBJECT)
    add_library(lumora_${name} OBJECT ${sources})
    target_link_libraries(lumora_${name} PUBLIC lumora_flags ${arg_DEPENDS})
  else()
    add_library(lumora_${name} STATIC ${sources})
    target_link_libraries(lumora_${name} PUBLIC lumora_flags ${arg_DEPENDS})
  endif()
endfunction()

# The calling test folder's program: every .cpp in it, linked with the harness's main() and the folders named.
# Each test runs in a process of its own under ctest, so process-wide state starts fresh.
function(lumora_tests)
  cmake_parse_arguments(arg "" "TIMEOUT" "DEPENDS;LIBRARIES" ${ARGN})
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  string(REPLACE "/" "_" name ${folder})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    return()
  endif()
  list(TRANSFORM arg_DEPENDS REPLACE "/" "_")
  list(TRANSFORM arg_DEPENDS PREPEND "lumora_")
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE lumora_test_harness ${arg_DEPENDS} ${arg_LIBRARIES})
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT ${arg_TIMEOUT})
endfunction()
