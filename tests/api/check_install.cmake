# Installs the build tree into a fresh prefix, then builds a user's program
# against it twice (through the pkg-config file and through the CMake
# package) and runs both: the German message must come from the installed
# catalogue, the English default without a locale.
#
# Variables: BUILD_DIR, WORK_DIR, CONSUMER_DIR, C_COMPILER, GENERATOR,
# EXTRA_FLAGS (compiler and linker flags of the build, such as sanitizers).

function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    string(REPLACE ";" " " cmd "${ARGV}")
    message(FATAL_ERROR "failed (${rc}): ${cmd}\n${out}${err}")
  endif()
  set(run_output "${out}" PARENT_SCOPE)
endfunction()

# Runs a consumer program in both languages and checks its lines.
function(check_consumer program)
  unset(ENV{TRGUEST_MSG_DIR})
  set(ENV{TRGUEST_LOCALE} "de_DE.UTF-8")
  run(${program})
  if(NOT run_output MATCHES "^Der Benutzername muss mit einem Kleinbuchstaben")
    message(FATAL_ERROR "${program}: German text not found in the installed catalogue:\n${run_output}")
  endif()
  if(NOT run_output MATCHES "vista or later: 1\n$")
    message(FATAL_ERROR "${program}: guest OS table answer wrong:\n${run_output}")
  endif()
  set(ENV{TRGUEST_LOCALE} "C")
  run(${program})
  if(NOT run_output MATCHES "^The user name must start with a lowercase US English character.\n")
    message(FATAL_ERROR "${program}: default text wrong:\n${run_output}")
  endif()
endfunction()

separate_arguments(extra UNIX_COMMAND "${EXTRA_FLAGS}")
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# pkg-config: every path of the file must lie in the new prefix.
file(GLOB_RECURSE pc_files ${prefix}/*/trguest.pc)
list(LENGTH pc_files pc_count)
if(NOT pc_count EQUAL 1)
  message(FATAL_ERROR "expected one installed trguest.pc, found: ${pc_files}")
endif()
get_filename_component(pc_dir ${pc_files} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
run(pkg-config --variable=libdir trguest)
string(STRIP "${run_output}" libdir)
file(REAL_PATH ${libdir} libdir)
file(REAL_PATH ${prefix} real_prefix)
if(NOT EXISTS ${libdir}/libtrguest.so OR NOT libdir MATCHES "^${real_prefix}/")
  message(FATAL_ERROR "pkg-config libdir ${libdir} is not the installed one")
endif()
run(pkg-config --cflags --libs trguest)
separate_arguments(pc_flags UNIX_COMMAND "${run_output}")
run(${C_COMPILER} -std=c99 -pedantic -Wall -Wextra -Werror ${extra}
    ${CONSUMER_DIR}/consumer.c ${pc_flags} -Wl,-rpath,${libdir} -o ${WORK_DIR}/consumer_pc)
check_consumer(${WORK_DIR}/consumer_pc)

# find_package
run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/cmake-build -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_C_COMPILER=${C_COMPILER}
    "-DCMAKE_C_FLAGS=${EXTRA_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${EXTRA_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
check_consumer(${WORK_DIR}/cmake-build/consumer)

file(REMOVE_RECURSE ${WORK_DIR})
message(STATUS "installed tree works through pkg-config and find_package")
