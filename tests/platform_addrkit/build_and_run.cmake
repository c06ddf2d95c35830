# Configures, builds and installs the library with the platform's address library into a scratch
# directory, proves that nothing of the stand-in is there, and runs a program against it.
cmake_policy(VERSION 3.20)

function(run)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${SCRATCH})
set(compilers -DCMAKE_C_COMPILER=${C_COMPILER} -DCMAKE_CXX_COMPILER=${CXX_COMPILER})
if(TOOLCHAIN)
  set(compilers -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
endif()
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${SCRATCH}/build ${compilers}
    "-DCMAKE_C_FLAGS=${C_FLAGS}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
    -DTEXTMAPS_PLATFORM_ADDRKIT=ON
    -DADDRKIT_INCLUDE_DIR=${ADDRKIT_INCLUDE_DIR} -DADDRKIT_LIBRARY=${ADDRKIT_LIBRARY}
    -DCMAKE_INSTALL_PREFIX=${SCRATCH}/installed -DCMAKE_INSTALL_LIBDIR=lib)
run(${CMAKE_COMMAND} --build ${SCRATCH}/build)
run(${CMAKE_COMMAND} --install ${SCRATCH}/build)

file(GLOB_RECURSE of_the_stand_in ${SCRATCH}/build/*addrkit*.o ${SCRATCH}/build/*addrkit*.a
     ${SCRATCH}/installed/*addrkit.[ah]*)
if(of_the_stand_in)
  message(FATAL_ERROR "of the stand-in: ${of_the_stand_in}")
endif()
set(library ${SCRATCH}/installed/lib/libtextmaps.so)
execute_process(COMMAND ${NM} -D --undefined-only ${library}
                OUTPUT_VARIABLE undefined COMMAND_ERROR_IS_FATAL ANY)
foreach(kind macaddr ipaddr cidr)
  foreach(direction to from)
    if(NOT undefined MATCHES "ak_${kind}_${direction}_str")
      message(FATAL_ERROR "ak_${kind}_${direction}_str is not left to the platform:\n${undefined}")
    endif()
  endforeach()
endforeach()

get_filename_component(addrkit_directory ${ADDRKIT_LIBRARY} DIRECTORY)
separate_arguments(flags UNIX_COMMAND "${C_FLAGS} ${LINKER_FLAGS}")
run(${C_COMPILER} ${flags} -std=c99 ${PROGRAM} -o ${SCRATCH}/program
    -I${SCRATCH}/installed/include -I${ADDRKIT_INCLUDE_DIR}
    -L${SCRATCH}/installed/lib -ltextmaps -L${addrkit_directory} -laddrkit
    -Wl,--disable-new-dtags -Wl,-rpath,${SCRATCH}/installed/lib:${addrkit_directory})
run(${EMULATOR} ${SCRATCH}/program)
