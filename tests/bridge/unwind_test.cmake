# cmake -DREADOBJ=... -DBRIDGE=... -P unwind_test.cmake
# An exception, and whoever looks at a crash, finds the way through the bridge: what has a frame is in the
# table of frames, which a free-standing compiler makes only if it is told to.
cmake_policy(VERSION 3.25)

execute_process(COMMAND ${READOBJ} --unwind ${BRIDGE} OUTPUT_VARIABLE frames COMMAND_ERROR_IS_FATAL ANY)
foreach(function hostSetText hostNewLine hostNewPolyline hostAddPoint hostCreateExtensionToolbar)
  if(NOT frames MATCHES "StartAddress: ${function} ")
    message(SEND_ERROR "${function} has no entry in the table of frames")
  endif()
endforeach()
