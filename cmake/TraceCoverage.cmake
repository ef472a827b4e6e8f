# Whether the tests observed every failure point of the library.
#
# A test that captures trace events takes part by having ${TRACE_COVERAGE_FIXTURE} among its
# FIXTURES_REQUIRED and ${TRACE_COVERAGE_ENVIRONMENT} in its environment. CTest then clears the
# folder of observed events before the first such test and makes the report after the last one,
# whichever tests were chosen.
find_package(Python3 3.11 REQUIRED COMPONENTS Interpreter)

set(TRACE_COVERAGE_FIXTURE trace_coverage)
set(trace_coverage_observed "${PROJECT_BINARY_DIR}/observed_traces")
set(TRACE_COVERAGE_ENVIRONMENT "VELTO_OBSERVED_TRACES=${trace_coverage_observed}")

add_test(NAME trace_coverage.clear
  COMMAND "${CMAKE_COMMAND}" -P "${CMAKE_CURRENT_LIST_DIR}/ClearFolder.cmake"
    "${trace_coverage_observed}")
set_tests_properties(trace_coverage.clear PROPERTIES FIXTURES_SETUP ${TRACE_COVERAGE_FIXTURE})

# Started with VELTO_WHOLE_RUN=1 in the environment, the report also fails for points that no test
# observed; a run of a few tests can't observe all.
add_test(NAME trace_coverage.report
  COMMAND "${Python3_EXECUTABLE}" -B "${PROJECT_SOURCE_DIR}/scripts/trace_coverage.py"
    --code "${PROJECT_SOURCE_DIR}/src"
    --table "${PROJECT_SOURCE_DIR}/tests/trace_points.tsv"
    --observed "${trace_coverage_observed}"
    --report "${PROJECT_BINARY_DIR}/trace_coverage.txt")
set_tests_properties(trace_coverage.report PROPERTIES FIXTURES_CLEANUP ${TRACE_COVERAGE_FIXTURE})
