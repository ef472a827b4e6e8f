# cmake -P ClearFolder.cmake FOLDER: makes the folder, or empties it.
if(NOT CMAKE_ARGC EQUAL 4)
  message(FATAL_ERROR "Name one folder.")
endif()
file(REMOVE_RECURSE "${CMAKE_ARGV3}")
file(MAKE_DIRECTORY "${CMAKE_ARGV3}")
