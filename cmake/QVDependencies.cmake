# Finds every third-party library QV_Tools uses and collects them in one interface target,
# qv_deps. A missing dependency stops the configure step with the package that provides it.
find_package(PkgConfig QUIET)

function(qv_require found what package)
  if(NOT ${found})
    message(FATAL_ERROR "QV_Tools needs ${what}: install the Debian package ${package} "
                        "(scripts/install-deps.sh installs everything)")
  endif()
endfunction()

find_package(XercesC QUIET)
qv_require(XercesC_FOUND "Xerces-C 3.2" libxerces-c-dev)

find_package(OpenCV QUIET COMPONENTS core imgproc imgcodecs)
qv_require(OpenCV_FOUND "OpenCV 4 (core, imgproc, imgcodecs)" libopencv-dev)

find_package(GSL QUIET)
qv_require(GSL_FOUND "GSL 2.7" libgsl-dev)

find_package(Boost 1.74 QUIET COMPONENTS thread date_time stacktrace_backtrace)
qv_require(Boost_FOUND "Boost 1.74 thread, date_time and stacktrace" "libboost-thread-dev libboost-date-time-dev libboost-stacktrace-dev")

find_package(Threads REQUIRED)

add_library(qv_deps INTERFACE)
target_link_libraries(qv_deps INTERFACE
  XercesC::XercesC opencv_core opencv_imgproc GSL::gsl GSL::gslcblas
  Boost::thread Boost::date_time Boost::stacktrace_backtrace
  Threads::Threads ${CMAKE_DL_LIBS})
target_include_directories(qv_deps SYSTEM INTERFACE ${OpenCV_INCLUDE_DIRS})
target_compile_definitions(qv_deps INTERFACE BOOST_STACKTRACE_USE_BACKTRACE)
