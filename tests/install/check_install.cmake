cmake_minimum_required(VERSION 3.25)
# cmake -D BUILD=... -D WORK=... -D CXX_COMPILER=... -D C_COMPILER=... -P check_install.cmake
# Installs the build, and has programs in C and C++ find it there, by the CMake
# package and by pkg-config, in its shared and its static form; each must compile,
# link and run. As a folder of another project it offers its libraries, and nothing
# besides. Without the sources of GoogleTest it is configured without tests.
set(here ${CMAKE_CURRENT_LIST_DIR})
set(project ${here}/../..)
set(prefix ${WORK}/prefix)
set(toolchain -G Ninja -D CMAKE_C_COMPILER=${C_COMPILER} -D CMAKE_CXX_COMPILER=${CXX_COMPILER})
set(strict -pedantic -Wall -Wextra -Werror)

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(output_of variable)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE text OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
  set(${variable} "${text}" PARENT_SCOPE)
endfunction()

# A program must not need the shared libraries.
function(needs_no_library program)
  execute_process(COMMAND ldd ${program} OUTPUT_VARIABLE needed ERROR_QUIET)
  if(needed MATCHES "libQuib")
    message(FATAL_ERROR "${program} needs a shared library: ${needed}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix} --component library)

# The headers are those of include/ and no others.
file(GLOB_RECURSE expected RELATIVE ${project}/include ${project}/include/*)
file(GLOB_RECURSE installed RELATIVE ${prefix}/include ${prefix}/include/*)
if(NOT installed STREQUAL expected)
  message(FATAL_ERROR "the headers installed are ${installed}, not ${expected}")
endif()

run(${CMAKE_COMMAND} -S ${here}/consumer -B ${WORK}/build ${toolchain}
  -D CMAKE_PREFIX_PATH=${prefix} -D COMPONENTS=shared,static)
run(${CMAKE_COMMAND} --build ${WORK}/build)
foreach(program IN ITEMS c cpp dib static static_dib)
  run(${WORK}/build/consumer_${program})
endforeach()
needs_no_library(${WORK}/build/consumer_static)
needs_no_library(${WORK}/build/consumer_static_dib)
execute_process(COMMAND ${CMAKE_COMMAND} -S ${here}/consumer -B ${WORK}/nonsense ${toolchain}
  -D CMAKE_PREFIX_PATH=${prefix} -D COMPONENTS=nonsense
  OUTPUT_QUIET ERROR_VARIABLE told RESULT_VARIABLE status)
string(REGEX REPLACE "[ \n]+" " " told "${told}")
if(status EQUAL 0 OR NOT told MATCHES "no component \"nonsense\": there are \"shared\" and \"static\"")
  message(FATAL_ERROR "a component that does not exist: ${status}, ${told}")
endif()

file(GLOB_RECURSE package ${prefix}/quibtool.pc)
cmake_path(GET package PARENT_PATH package_dir)
set(ENV{PKG_CONFIG_PATH} ${package_dir})
output_of(flags pkg-config --cflags --libs quibtool)
output_of(static_flags pkg-config --static --cflags --libs quibtool)
output_of(libdir pkg-config --variable=libdir quibtool)
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(static_flags UNIX_COMMAND "${static_flags}")
foreach(source IN ITEMS main dib)
  run(${C_COMPILER} -std=c11 ${strict} ${here}/consumer/${source}.c ${flags}
    -Wl,-rpath,${libdir} -o ${WORK}/by_pkg_config_${source})
  run(${WORK}/by_pkg_config_${source})
  run(${C_COMPILER} -std=c11 ${strict} -static ${here}/consumer/${source}.c ${static_flags}
    -o ${WORK}/by_pkg_config_static_${source})
  run(${WORK}/by_pkg_config_static_${source})
endforeach()
run(${CXX_COMPILER} -std=c++20 ${strict} ${here}/consumer/main.cpp ${flags}
  -Wl,-rpath,${libdir} -o ${WORK}/by_pkg_config_cpp)
run(${WORK}/by_pkg_config_cpp)

file(WRITE ${WORK}/parent/CMakeLists.txt "cmake_minimum_required(VERSION 3.25)
project(Parent C CXX)
add_subdirectory(${project} quibtool)
add_executable(program EXCLUDE_FROM_ALL ${here}/consumer/main.c)
target_link_libraries(program PRIVATE QuibTool::QuibTool)
")
run(${CMAKE_COMMAND} -S ${WORK}/parent -B ${WORK}/parent/build ${toolchain})
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK}/parent/build --target help
  OUTPUT_VARIABLE targets COMMAND_ERROR_IS_FATAL ANY)
if(NOT targets MATCHES "QuibTool")
  message(FATAL_ERROR "the parent has no library: ${targets}")
endif()
string(REGEX MATCHALL "quib_(hello|short|viewer|demo|bench|[a-z]*_(tests|fuzz))|quib:" foreign "${targets}")
if(foreign)
  message(FATAL_ERROR "the parent builds ${foreign}")
endif()

execute_process(COMMAND ${CMAKE_COMMAND} -S ${project} -B ${WORK}/untested ${toolchain}
  -D QUIB_GTEST_FOLDER=${WORK}/nowhere
  OUTPUT_QUIET ERROR_VARIABLE told RESULT_VARIABLE status)
string(REGEX REPLACE "[ \n]+" " " told "${told}")
if(NOT status EQUAL 0 OR NOT told MATCHES "tests are left out: the sources of GoogleTest are missing")
  message(FATAL_ERROR "without GoogleTest: ${status}, ${told}")
endif()
