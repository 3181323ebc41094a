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

# QUIB_base_FLAGS and so on: what the files of a processor level are compiled with.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64|i[3-6]86)$")
  set(QUIB_X86 TRUE)
  set(QUIB_base_FLAGS -msse2)
  # kernels/choose.cpp asks the processor for exactly these features.
  set(QUIB_avx2_FLAGS -mavx2 -mbmi -mbmi2 -mfma -mpopcnt)
  if(MINGW AND NOT QUIB_32BIT)
    # The 64-bit Windows stack is aligned to 16 bytes only and this compiler
    # cannot raise it, so spilled 32-byte vectors must not assume alignment.
    list(PREPEND QUIB_avx2_FLAGS -Wa,-muse-unaligned-vector-move)
  endif()
  set(QUIB_avx512_FLAGS ${QUIB_avx2_FLAGS}
    -mavx512f -mavx512bw -mavx512cd -mavx512dq -mavx512vl)
endif()

if(QUIB_SANITIZE)
  add_compile_options(-fsanitize=${QUIB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QUIB_SANITIZE})
endif()

set(QUIB_KERNEL_OPTIMISATION -O3)
if(QUIB_SANITIZE AND NOT QUIB_BUILD_FUZZERS)
  # Where a test waits for the compiler rather than for the kernels.
  set(QUIB_KERNEL_OPTIMISATION -O1)
endif()
# Counters in the library alone, and code that stands as it is written.
if(QUIB_COVERAGE)
  set(QUIB_COUNTERS --coverage -O0)
  # The kernels' loops carry remarks that mean nothing then, which is a warning.
  set(QUIB_KERNEL_OPTIMISATION -O0 -Wno-error)
endif()

set(QUIB_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion)
if(QUIB_WERROR)
  list(APPEND QUIB_WARNINGS -Werror)
endif()

if(QUIB_COVERAGE)
  add_link_options(--coverage)
endif()

# Settings for the library's own code.
function(quib_library_settings target)
  target_compile_options(${target} PRIVATE ${QUIB_WARNINGS} ${QUIB_COUNTERS}
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
  target_include_directories(${target} PRIVATE
    ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
endfunction()

# Settings for tests, benchmarks and examples.
function(quib_program_settings target)
  target_compile_options(${target} PRIVATE ${QUIB_WARNINGS})
  target_include_directories(${target} PRIVATE
    ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  if(MINGW)
    target_link_options(${target} PRIVATE -static)
  endif()
endfunction()
