# Libraries from the distribution. The Windows build takes header-only ones from the same place and the others from
# what scripts/windows/build-libraries has built for it.
find_package(Threads REQUIRED)

set(TERVO_WINDOWS_DEPS ${CMAKE_SOURCE_DIR}/build/windows-deps CACHE PATH "Libraries built for the Windows build")

# tervo_header_only(TARGET FOLDER): headers of the host that do not depend on the target system. The Windows build must
# not see the rest of the folder they stand in, so it gets a folder with links to just these.
function(tervo_header_only target folder)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  find_path(TERVO_HOST_${target} ${folder} PATHS /usr/include /usr/local/include
            NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  if(CMAKE_CROSSCOMPILING)
    set(links ${CMAKE_BINARY_DIR}/host-headers)
    file(MAKE_DIRECTORY ${links})
    file(CREATE_LINK ${TERVO_HOST_${target}}/${folder} ${links}/${folder} SYMBOLIC)
    set_target_properties(${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${links})
  endif()
endfunction()

tervo_header_only(fmt fmt)
target_compile_definitions(fmt INTERFACE FMT_HEADER_ONLY)
tervo_header_only(cli11 CLI)
tervo_header_only(json nlohmann)
tervo_header_only(kissfft kissfft)

if(WIN32)
  set(ZLIB_USE_STATIC_LIBS ON)
endif()
find_package(ZLIB REQUIRED)

# tervo_library(TARGET NAME HEADER): a library that Debian does not package for mingw-w64.
function(tervo_library target name header)
  add_library(${target} UNKNOWN IMPORTED GLOBAL)
  if(CMAKE_CROSSCOMPILING)
    set(hints HINTS ${TERVO_WINDOWS_DEPS} NO_CMAKE_FIND_ROOT_PATH)
  endif()
  find_path(TERVO_${name}_INCLUDE ${header} PATH_SUFFIXES include ${hints} REQUIRED)
  find_library(TERVO_${name}_LIBRARY ${name} PATH_SUFFIXES lib ${hints} REQUIRED)
  set_target_properties(${target} PROPERTIES IMPORTED_LOCATION ${TERVO_${name}_LIBRARY}
                        INTERFACE_INCLUDE_DIRECTORIES ${TERVO_${name}_INCLUDE})
endfunction()

tervo_library(soxr::soxr soxr soxr.h)
tervo_library(ebur128::ebur128 ebur128 ebur128.h)

if(NOT WIN32)
  foreach(name RtAudio RtMidi)
    string(TOLOWER ${name} library)
    find_path(TERVO_${name}_INCLUDE ${name}.h PATH_SUFFIXES ${library} REQUIRED)
    find_library(TERVO_${name}_LIBRARY ${library} REQUIRED)
    add_library(${library} UNKNOWN IMPORTED GLOBAL)
    set_target_properties(${library} PROPERTIES IMPORTED_LOCATION ${TERVO_${name}_LIBRARY}
                          INTERFACE_INCLUDE_DIRECTORIES ${TERVO_${name}_INCLUDE})
  endforeach()
endif()

if(TERVO_WINDOW)
  if(CMAKE_CROSSCOMPILING)
    # Tells where it is, and builds it where it is not: half an hour.
    execute_process(COMMAND ${CMAKE_SOURCE_DIR}/scripts/windows/build-qt
                    OUTPUT_VARIABLE qt OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    list(APPEND CMAKE_PREFIX_PATH ${qt})
  endif()
  find_package(Qt6 6.4 REQUIRED COMPONENTS Widgets)
  if(NOT WIN32)
    find_package(Qt6 6.4 REQUIRED COMPONENTS DBus)
  endif()
endif()

if(TERVO_TESTS)
  if(WIN32 OR TERVO_SANITIZE MATCHES thread)
    # Debian ships GoogleTest's sources too; they are built with the flags of this build.
    add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    if(TERVO_SANITIZE)
      target_compile_options(gtest PUBLIC -fsanitize=${TERVO_SANITIZE})
    endif()
  else()
    find_package(GTest REQUIRED)
  endif()
endif()
