# GoogleTest: the installed one, but for another machine its sources as Debian's libgtest-dev
# brings them. Sets GTest_FOUND.
if(NOT CMAKE_CROSSCOMPILING)
  find_package(GTest CONFIG QUIET)
elseif(TARGET gtest_main)
  set(GTest_FOUND TRUE)
else()
  set(TARNIX_GOOGLETEST /usr/src/googletest CACHE PATH "Sources of GoogleTest, for cross builds")
  set(GTest_FOUND FALSE)
  if(EXISTS "${TARNIX_GOOGLETEST}/CMakeLists.txt")
    set(BUILD_GMOCK OFF)
    set(INSTALL_GTEST OFF)
    add_subdirectory("${TARNIX_GOOGLETEST}" "${PROJECT_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
    set(GTest_FOUND TRUE)
  elseif(CMAKE_REQUIRE_FIND_PACKAGE_GTest)
    message(FATAL_ERROR "tarnix: no sources of GoogleTest in ${TARNIX_GOOGLETEST}")
  endif()
endif()
include(GoogleTest)

# The cases of a test program, each in a process of its own: all state of the library is fresh. To
# start another machine's program takes longer than most cases: there the cases run in four parts.
function(tarnix_gtest target prefix)
  if(NOT CMAKE_CROSSCOMPILING)
    gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST TEST_PREFIX "${prefix}"
      PROPERTIES TIMEOUT 120)
    return()
  endif()
  foreach(part RANGE 3)
    add_test(NAME ${target}_${part} COMMAND ${target} --gtest_brief=1)
    set_tests_properties(${target}_${part} PROPERTIES
      ENVIRONMENT "GTEST_TOTAL_SHARDS=4;GTEST_SHARD_INDEX=${part}")
  endforeach()
endfunction()
