# For Windows everything is one archive: unpacked anywhere, it is found by CMake and pkg-config.
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  ${PROJECT_SOURCE_DIR}/docs/platforms.md DESTINATION doc)
install(FILES ${PROJECT_SOURCE_DIR}/examples/first_host.c
  ${PROJECT_SOURCE_DIR}/examples/first_host.cpp DESTINATION examples)
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME "tarnix-${PROJECT_VERSION}-windows-x86_64")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(archive "${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.zip")
include(CPack)

# Hosts of this and of another compiler, against the archive alone.
if(TARNIX_TESTS AND CMAKE_CROSSCOMPILING)
  add_test(NAME windows_zip COMMAND bash tests/install/windows_zip.sh
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  set_tests_properties(windows_zip PROPERTIES ENVIRONMENT "EMULATOR=${PROJECT_BINARY_DIR}/emulate\
;CMAKE=${CMAKE_COMMAND};CPACK=${CMAKE_CPACK_COMMAND};BUILD=${PROJECT_BINARY_DIR}\
;TOOLCHAIN=${CMAKE_TOOLCHAIN_FILE};VERSION=${PROJECT_VERSION}\
;ARCHIVE=${archive}\
;CMAKE_GENERATOR=${CMAKE_GENERATOR}")
endif()
