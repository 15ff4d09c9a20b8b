# Installs the build into a scratch prefix, builds tests/consumer/installed against it with
# find_package(QVTools), and runs the C program.
# Usage: cmake -DBUILD=<build dir> -DSOURCE=<tests/consumer> -DWORK=<scratch dir> -P install_consumer.cmake
file(REMOVE_RECURSE ${WORK})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "install failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE}/installed -B ${WORK}/build
                        -DCMAKE_PREFIX_PATH=${WORK}/prefix RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "configuring the consumer against the installed package failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK}/build RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "building the consumer failed")
endif()
execute_process(COMMAND ${WORK}/build/consumer_c RESULT_VARIABLE rc OUTPUT_VARIABLE out)
message(STATUS "${out}")
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the installed consumer failed")
endif()
