# Libraries from the distribution. The Windows build takes header-only ones from the same place and the others from
# what scripts/ has built for it.
find_package(Threads REQUIRED)

if(TERVO_TESTS)
  if(WIN32 OR TERVO_SANITIZE)
    # Debian ships GoogleTest's sources too; they are built with the flags of this build.
    add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    add_library(GTest::gmock ALIAS gmock)
    add_library(GTest::gtest_main ALIAS gtest_main)
  else()
    find_package(GTest REQUIRED)
  endif()
endif()
