# What every target of this project is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(QUIB_32BIT TRUE)
endif()

# Floating point must give the same bits on every target: no contraction into
# fused operations, and no x87 on 32-bit.
add_compile_options(-ffp-contract=off)
if(QUIB_32BIT)
  add_compile_options(-msse2 -mfpmath=sse)
  if(WIN32)
    # Callers and callbacks only promise 4-byte stack alignment there.
    add_compile_options(-mstackrealign)
  endif()
endif()
if(WIN32)
  add_compile_definitions(NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601)
endif()

if(QUIB_SANITIZE)
  add_compile_options(-fsanitize=${QUIB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QUIB_SANITIZE})
endif()

set(QUIB_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion)
if(QUIB_WERROR)
  list(APPEND QUIB_WARNINGS -Werror)
endif()

# Settings for the library's own code.
function(quib_library_settings target)
  target_compile_options(${target} PRIVATE ${QUIB_WARNINGS}
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
endfunction()

# Settings for tests, benchmarks and examples.
function(quib_program_settings target)
  target_compile_options(${target} PRIVATE ${QUIB_WARNINGS})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  if(MINGW)
    target_link_options(${target} PRIVATE -static)
  endif()
endfunction()
