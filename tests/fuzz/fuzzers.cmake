# The programs with libFuzzer. They need clang, and code that is instrumented throughout, so they are built from the
# same sources in a build folder of their own, whose TAVLIB_SANITIZE names the fuzzer's instrumentation.

set(fuzzer_sanitizers address,undefined,fuzzer-no-link)
set(TAVLIB_BUILDS_FUZZERS OFF)
if(TAVLIB_SANITIZE MATCHES "fuzzer")
  set(TAVLIB_BUILDS_FUZZERS ON)
  add_custom_target(fuzzers)
endif()

# The program fuzz_NAME.
function(tavlib_fuzzer name)
  add_executable(fuzz_${name} ${ARGN})
  tavlib_fuzz_options(fuzz_${name})
  target_compile_definitions(fuzz_${name} PRIVATE TAVTEST_LIBFUZZER)
  target_link_libraries(fuzz_${name} PRIVATE tavlib_fuzz_support)
  target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
  set_target_properties(fuzz_${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/fuzzers)
  add_dependencies(fuzzers fuzz_${name})
endfunction()

# Sets TAVLIB_FUZZER_CXX to a clang++ that makes programs with libFuzzer, or to NOTFOUND.
function(find_fuzzer_compiler)
  find_program(clangxx NAMES clang++)
  set(probe ${CMAKE_CURRENT_BINARY_DIR}/probe)
  file(WRITE ${probe}.cpp
    "#include <cstddef>\nextern \"C\" int LLVMFuzzerTestOneInput(const unsigned char*, std::size_t) { return 0; }\n")
  set(works 1)
  if(clangxx)
    execute_process(COMMAND ${clangxx} -fsanitize=fuzzer,address,undefined ${probe}.cpp -o ${probe}
      RESULT_VARIABLE works OUTPUT_QUIET ERROR_QUIET)
  endif()
  if(works EQUAL 0)
    set(TAVLIB_FUZZER_CXX ${clangxx} CACHE FILEPATH "A clang++ with libFuzzer")
  endif()
endfunction()

# Other sanitizers' builds and debug builds would only fuzz the same programs again.
set(TAVLIB_RUNS_FUZZERS OFF)
if(CMAKE_BUILD_TYPE STREQUAL Release AND NOT TAVLIB_SANITIZE AND NOT CMAKE_CROSSCOMPILING)
  if(NOT TAVLIB_FUZZER_CXX)
    find_fuzzer_compiler()
  endif()
  if(TAVLIB_FUZZER_CXX)
    set(TAVLIB_RUNS_FUZZERS ON)
  else()
    message(STATUS "fuzzing is left out: no clang++ with libFuzzer (packages clang and libclang-rt-14-dev)")
  endif()
endif()

if(TAVLIB_RUNS_FUZZERS)
  include(ExternalProject)
  string(REGEX REPLACE "clang\\+\\+" "clang" fuzzer_cc ${TAVLIB_FUZZER_CXX})
  ExternalProject_Add(fuzzers
    SOURCE_DIR ${PROJECT_SOURCE_DIR}
    BINARY_DIR ${CMAKE_CURRENT_BINARY_DIR}/clang
    CMAKE_ARGS
      -DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS_RELEASE=-O2 -gline-tables-only"
      -DCMAKE_CXX_COMPILER=${TAVLIB_FUZZER_CXX} -DCMAKE_C_COMPILER=${fuzzer_cc}
      -DTAVLIB_SANITIZE=${fuzzer_sanitizers} -DTAVLIB_WARNINGS_AS_ERRORS=${TAVLIB_WARNINGS_AS_ERRORS}
    BUILD_COMMAND ${CMAKE_COMMAND} --build <BINARY_DIR> --target fuzzers
    BUILD_ALWAYS ON
    INSTALL_COMMAND "")
endif()

# The test that looks for new inputs for 2 seconds, starting from those in the corpus, of which it changes nothing.
function(tavlib_fuzzer_test name dictionary)
  if(NOT TAVLIB_RUNS_FUZZERS)
    return()
  endif()
  file(GLOB inputs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/corpus/${name}/*)
  list(JOIN inputs "," inputs)
  file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${name}.inputs ${inputs})
  set(options -seed=1 -max_total_time=2 -max_len=9000 -timeout=10 -rss_limit_mb=1024
    -seed_inputs=@${CMAKE_CURRENT_BINARY_DIR}/${name}.inputs
    -artifact_prefix=${CMAKE_CURRENT_BINARY_DIR}/${name}.found.)
  if(dictionary)
    list(APPEND options -dict=${CMAKE_CURRENT_SOURCE_DIR}/${dictionary})
  endif()
  add_test(NAME fuzz.search.${name}
    COMMAND ${CMAKE_CURRENT_BINARY_DIR}/clang/fuzzers/fuzz_${name} ${options})
  set_tests_properties(fuzz.search.${name} PROPERTIES TIMEOUT 60)
endfunction()
