cmake_minimum_required(VERSION 3.25)
# cmake -D BUILD=... -D WORK=... -D CXX_COMPILER=... -D C_COMPILER=... -P check_install.cmake
# Installs the build, and has programs in C and C++ find it there, by the CMake
# package and by pkg-config; each must compile, link and run. As a folder of
# another project it offers its library, and no tests and examples.
set(here ${CMAKE_CURRENT_LIST_DIR})
set(prefix ${WORK}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})

run(${CMAKE_COMMAND} -S ${here}/consumer -B ${WORK}/build -G Ninja
  -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_C_COMPILER=${C_COMPILER}
  -D CMAKE_CXX_COMPILER=${CXX_COMPILER})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${WORK}/build/consumer_c)
run(${WORK}/build/consumer_cpp)
run(${WORK}/build/consumer_static)

file(GLOB_RECURSE package ${prefix}/quibtool.pc)
cmake_path(GET package PARENT_PATH package_dir)
set(ENV{PKG_CONFIG_PATH} ${package_dir})
execute_process(COMMAND pkg-config --cflags --libs quibtool OUTPUT_VARIABLE flags
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND pkg-config --variable=libdir quibtool OUTPUT_VARIABLE libdir
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${C_COMPILER} -std=c11 -pedantic -Wall -Wextra -Werror ${here}/consumer/main.c ${flags}
  -Wl,-rpath,${libdir} -o ${WORK}/by_pkg_config_c)
run(${WORK}/by_pkg_config_c)
run(${CXX_COMPILER} -std=c++20 -pedantic -Wall -Wextra -Werror ${here}/consumer/main.cpp ${flags}
  -Wl,-rpath,${libdir} -o ${WORK}/by_pkg_config_cpp)
run(${WORK}/by_pkg_config_cpp)

file(WRITE ${WORK}/parent/CMakeLists.txt "cmake_minimum_required(VERSION 3.25)
project(Parent C CXX)
add_subdirectory(${here}/../.. quibtool)
add_executable(program EXCLUDE_FROM_ALL ${here}/consumer/main.c)
target_link_libraries(program PRIVATE QuibTool::QuibTool)
")
run(${CMAKE_COMMAND} -S ${WORK}/parent -B ${WORK}/parent/build -G Ninja
  -D CMAKE_C_COMPILER=${C_COMPILER} -D CMAKE_CXX_COMPILER=${CXX_COMPILER})
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK}/parent/build --target help
  OUTPUT_VARIABLE targets COMMAND_ERROR_IS_FATAL ANY)
if(NOT targets MATCHES "QuibTool")
  message(FATAL_ERROR "the parent has no library: ${targets}")
endif()
string(REGEX MATCHALL "quib_(hello|viewer|demo|[a-z]*_tests)" foreign "${targets}")
if(foreign)
  message(FATAL_ERROR "the parent builds ${foreign}")
endif()
