# Read by cpack for each kind of package.
if(CPACK_GENERATOR STREQUAL "ZIP")
  set(CPACK_MONOLITHIC_INSTALL TRUE)
endif()
