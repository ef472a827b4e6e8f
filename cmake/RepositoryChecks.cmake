# Tests of the project's own files and scripts; they run on the build machine.
find_package(Python3 3.11 REQUIRED COMPONENTS Interpreter)

add_test(NAME repository.hygiene
  COMMAND "${Python3_EXECUTABLE}" -B "${PROJECT_SOURCE_DIR}/scripts/check_hygiene.py"
    "${PROJECT_SOURCE_DIR}")
add_test(NAME repository.scripts
  COMMAND "${Python3_EXECUTABLE}" -B -m unittest discover
    --start-directory "${PROJECT_SOURCE_DIR}/scripts/tests" --pattern "*_test.py")
