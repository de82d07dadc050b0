# Flags and small functions that every target of the project uses.

add_library(tervo_options INTERFACE)
target_include_directories(tervo_options INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_options(tervo_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough -Wformat=2 -Werror
  # One result everywhere: no fused multiply-add unless a kernel asks for it by name.
  -ffp-contract=off)
if(WIN32)
  target_compile_definitions(tervo_options INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
  target_link_options(tervo_options INTERFACE -static)
endif()
if(TERVO_SANITIZE)
  target_compile_options(tervo_options INTERFACE
    -fsanitize=${TERVO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tervo_options INTERFACE -fsanitize=${TERVO_SANITIZE})
endif()
if(TERVO_FUZZ)
  target_compile_options(tervo_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# tervo_room(NAME DEPENDS room... [SOURCES file...]): the library of one room. Without SOURCES all .cpp files below the
# folder belong to it.
function(tervo_room name)
  cmake_parse_arguments(ARG "" "" "DEPENDS;SOURCES" ${ARGN})
  if(NOT ARG_SOURCES)
    file(GLOB_RECURSE ARG_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  endif()
  if(NOT ARG_SOURCES)
    set(ARG_SOURCES ${CMAKE_SOURCE_DIR}/cmake/empty.cpp)
  endif()
  add_library(tervo_${name} STATIC ${ARG_SOURCES})
  list(TRANSFORM ARG_DEPENDS PREPEND tervo_)
  target_link_libraries(tervo_${name} PUBLIC tervo_options ${ARG_DEPENDS})
endfunction()

# tervo_tests(NAME DEPENDS room...): NAME_tests from all .cpp files below tests/NAME.
function(tervo_tests name)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp)
  if(WIN32)
    list(FILTER sources EXCLUDE REGEX "/posix/")
  else()
    list(FILTER sources EXCLUDE REGEX "/windows/")
  endif()
  if(NOT sources)
    return()
  endif()
  add_executable(${name}_tests ${sources})
  list(TRANSFORM ARG_DEPENDS PREPEND tervo_)
  target_include_directories(${name}_tests PRIVATE ${CMAKE_SOURCE_DIR})
  target_link_libraries(${name}_tests PRIVATE ${ARG_DEPENDS} GTest::gmock GTest::gtest_main)
  # Test sources are many and short-lived: what they take to compile counts, not how fast they are.
  target_compile_options(${name}_tests PRIVATE -O0)
  if(TARGET tests_headers)
    target_precompile_headers(${name}_tests REUSE_FROM tests_headers)
  endif()
  add_test(NAME ${name} COMMAND ${name}_tests)
endfunction()
