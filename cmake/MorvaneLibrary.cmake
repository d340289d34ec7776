# A subfolder with a CMakeLists.txt of its own (shell/tools, ...) is a library
# of its own: the enclosing folder's glob leaves its sources alone.
macro(morvane_drop_nested var)
  file(GLOB_RECURSE _nested CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*/CMakeLists.txt)
  foreach(_n ${_nested})
    get_filename_component(_d ${_n} DIRECTORY)
    list(FILTER ${var} EXCLUDE REGEX "^${_d}/")
  endforeach()
endmacro()

# morvane_library(NAME DEPS...) builds every .cpp below the calling folder into
# a static library named NAME. Files named main.cpp are left to executables.
function(morvane_library name)
  file(GLOB_RECURSE srcs CONFIGURE_DEPENDS
       ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.c)
  list(FILTER srcs EXCLUDE REGEX "/main\\.cpp$")
  morvane_drop_nested(srcs)
  if(srcs)
    add_library(${name} STATIC ${srcs})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ARGN})
  else()  # a folder whose first sources have not landed yet
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} INTERFACE ${ARGN})
  endif()
endfunction()

# morvane_test(NAME LIBS...) builds every .cpp below the calling folder into one
# GoogleTest binary and registers its cases with ctest.
function(morvane_test name)
  file(GLOB_RECURSE srcs CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  list(FILTER srcs EXCLUDE REGEX "/fuzz/")
  morvane_drop_nested(srcs)
  if(NOT srcs)
    return()
  endif()
  add_executable(${name} ${srcs})
  target_link_libraries(${name} PRIVATE ${ARGN} GTest::gtest GTest::gtest_main GTest::gmock)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  # The environment goes through `env` as the test's launcher: a list of
  # variables in the ENVIRONMENT property loses all but the first on its way
  # through test discovery.
  set_property(TARGET ${name} PROPERTY CROSSCOMPILING_EMULATOR /usr/bin/env
               "MORVANE_HOME=${CMAKE_BINARY_DIR}/testrun/home" "MORVANE_DATA=${PROJECT_SOURCE_DIR}/data")
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
                       WORKING_DIRECTORY ${CMAKE_BINARY_DIR}/testrun)
endfunction()

# morvane_fuzz(NAME SOURCE [RUNS n] LIBS...) builds a fuzz target: SOURCE defines
# LLVMFuzzerTestOneInput. With MORVANE_FUZZ (a clang build) it links libFuzzer
# with AddressSanitizer and ctest runs it for a fixed number of runs
# (MORVANE_FUZZ_RUNS, or n for a target whose runs are slow); otherwise
# it links our replay driver, which feeds the seed corpus (tests/<folder>/fuzz/
# corpus/NAME/, if any) and a fixed set of seeded random mutations, so every
# build exercises the target a little. `scripts/fuzz.sh NAME SECONDS` runs one longer.
if(NOT TARGET fuzz_targets)
  add_custom_target(fuzz_targets)
endif()
function(morvane_fuzz name source)
  cmake_parse_arguments(FUZZ "" "RUNS" "" ${ARGN})
  set(libs ${FUZZ_UNPARSED_ARGUMENTS})
  set(runs ${MORVANE_FUZZ_RUNS})
  if(FUZZ_RUNS)
    set(runs ${FUZZ_RUNS})
  endif()
  set(corpus ${CMAKE_CURRENT_SOURCE_DIR}/fuzz/corpus/${name})
  if(MORVANE_FUZZ)
    add_executable(${name} ${source})
    target_compile_options(${name} PRIVATE -fsanitize=fuzzer,address)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer,address)
    target_link_libraries(${name} PRIVATE ${libs})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
    # libFuzzer saves the inputs it finds into its first corpus folder: that
    # is one in the build tree, so a test run never writes into the sources.
    set(found ${CMAKE_CURRENT_BINARY_DIR}/fuzz-found/${name})
    file(MAKE_DIRECTORY ${found})
    set(dirs ${found})
    if(EXISTS ${corpus})
      list(APPEND dirs ${corpus})
    endif()
    add_test(NAME ${name} COMMAND ${name} -runs=${runs} -seed=1 -rss_limit_mb=1024 ${dirs})
    add_dependencies(fuzz_targets ${name})
  else()
    add_executable(${name} ${source} ${PROJECT_SOURCE_DIR}/tests/FuzzReplayDriver.cpp)
    target_link_libraries(${name} PRIVATE ${libs})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
    add_test(NAME ${name} COMMAND ${name} ${corpus})
  endif()
endfunction()

# morvane_export_allocator(TARGET) puts cExMalloc and cExFree, under these
# plain names, into the executable's dynamic symbol table, so that components
# loaded at run time allocate on the program's heap.
function(morvane_export_allocator target)
  target_link_options(${target} PRIVATE
    -Wl,--export-dynamic-symbol=cExMalloc -Wl,--export-dynamic-symbol=cExFree)
endfunction()
