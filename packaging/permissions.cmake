# Run by CPack before it makes packages of the installed files: the directories above them have
# taken the umask of the moment.
file(GLOB_RECURSE places LIST_DIRECTORIES true "${CPACK_TEMPORARY_DIRECTORY}/*")
foreach(place IN LISTS places)
  if(IS_DIRECTORY "${place}")
    file(CHMOD "${place}" PERMISSIONS
      OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  endif()
endforeach()
