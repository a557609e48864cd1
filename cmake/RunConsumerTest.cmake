# ctest script behind the install_consumer test:
#  1. cmake --install the build tree into <work>/prefix,
#  2. configure, build and run tests/consumer against it (find_package),
#  3. compile and run the same program with pkg-config flags only.
# Expects KSTM_BUILD_DIR, KSTM_CONSUMER_SOURCE, KSTM_WORK_DIR, KSTM_GENERATOR,
# KSTM_MAKE_PROGRAM, KSTM_CXX, KSTM_PKG_CONFIG, KSTM_WERROR.
cmake_minimum_required(VERSION 3.25)

set(prefix ${KSTM_WORK_DIR}/prefix)
set(build ${KSTM_WORK_DIR}/build)
set(expected "KsString")

function(run what)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${what} failed (${rc}):\n${out}\n${err}")
  endif()
  set(run_output "${out}" PARENT_SCOPE)
endfunction()

function(expect_output what)
  string(STRIP "${run_output}" got)
  if(NOT got STREQUAL expected)
    message(FATAL_ERROR "${what} printed '${got}', expected '${expected}'")
  endif()
  message(STATUS "${what}: ${got}")
endfunction()

file(REMOVE_RECURSE ${KSTM_WORK_DIR})
file(MAKE_DIRECTORY ${KSTM_WORK_DIR})

run("install" ${CMAKE_COMMAND} --install ${KSTM_BUILD_DIR} --prefix ${prefix})
if(NOT EXISTS ${prefix}/include/kstypemgr/kstypemgr.h)
  message(FATAL_ERROR "install: include/kstypemgr/kstypemgr.h is missing")
endif()

# --- CMake package ----------------------------------------------------------
set(werror OFF)
if(KSTM_WERROR)
  set(werror ON)
endif()
run("consumer configure" ${CMAKE_COMMAND}
  -S ${KSTM_CONSUMER_SOURCE} -B ${build}
  -G ${KSTM_GENERATOR} -DCMAKE_MAKE_PROGRAM=${KSTM_MAKE_PROGRAM}
  -DCMAKE_CXX_COMPILER=${KSTM_CXX}
  -DCMAKE_BUILD_TYPE=Release
  -DCMAKE_PREFIX_PATH=${prefix}
  -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
  -DCONSUMER_WERROR=${werror})

# Make sure the package came from the fresh prefix, not from the system.
file(STRINGS ${build}/CMakeCache.txt found_dir REGEX "^KsTypeMgr_DIR:")
string(FIND "${found_dir}" "${prefix}/" at)
if(NOT at GREATER -1)
  message(FATAL_ERROR "consumer found the package elsewhere: ${found_dir}")
endif()

run("consumer build" ${CMAKE_COMMAND} --build ${build})
run("consumer (shared)" ${build}/consumer)
expect_output("consumer (shared)")
run("consumer (static)" ${build}/consumer_static)
expect_output("consumer (static)")

# --- pkg-config ---------------------------------------------------------------
file(GLOB pc_file ${prefix}/lib*/pkgconfig/kstypemgr.pc ${prefix}/lib/*/pkgconfig/kstypemgr.pc)
if(NOT pc_file)
  message(FATAL_ERROR "install: kstypemgr.pc is missing")
endif()
list(GET pc_file 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
run("pkg-config" ${KSTM_PKG_CONFIG} --cflags --libs kstypemgr)
string(STRIP "${run_output}" pc_flags)
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
run("pkg-config libdir" ${KSTM_PKG_CONFIG} --variable=libdir kstypemgr)
string(STRIP "${run_output}" pc_libdir)

run("pkg-config compile" ${KSTM_CXX} -std=c++20 -Wall -Wextra -Werror
  ${KSTM_CONSUMER_SOURCE}/main.cpp ${pc_flags} -Wl,-rpath,${pc_libdir}
  -o ${KSTM_WORK_DIR}/consumer_pc)
run("consumer (pkg-config)" ${KSTM_WORK_DIR}/consumer_pc)
expect_output("consumer (pkg-config)")
