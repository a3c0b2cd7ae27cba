# Installs the built libraries into a scratch prefix, then builds and runs a small
# consumer twice: found with find_package(ZnConvertersLib), and with pkg-config alone.
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

find_program(PKG_CONFIG pkg-config)
if(NOT PKG_CONFIG)
  message(WARNING "pkg-config not found: the pkg-config consumer build is skipped")
  return()
endif()
file(GLOB pc_dirs ${prefix}/lib*/pkgconfig ${prefix}/lib/*/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "${pc_dirs}")
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs ZnConvertersLib
                RESULT_VARIABLE rc OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "pkg-config does not find ZnConvertersLib under ${prefix}")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
set(pc_consumer ${BINARY_DIR}/package-test/pc-consumer)
run(${CXX} -std=c++17 ${SOURCE_DIR}/tests/package/consumer/main.cpp ${flags} -o ${pc_consumer})
string(REGEX MATCH "-L[^;]+" libdir_flag "${flags}")
string(SUBSTRING "${libdir_flag}" 2 -1 libdir)
set(ENV{LD_LIBRARY_PATH} "${libdir}")
run(${pc_consumer})
