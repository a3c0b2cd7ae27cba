# Installs the built libraries into a scratch prefix, then configures, builds and runs
# a small consumer that finds them with find_package(ZnConvertersLib).
set(prefix ${BINARY_DIR}/package-test/prefix)
set(consumer_build ${BINARY_DIR}/package-test/consumer)
file(REMOVE_RECURSE ${BINARY_DIR}/package-test)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "command failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${prefix})
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/tests/package/consumer -B ${consumer_build}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${consumer_build})
run(${consumer_build}/consumer)
