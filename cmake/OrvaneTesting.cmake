# Helpers for test and benchmark targets.
include(GoogleTest)
find_package(GTest REQUIRED)

# orvane_sanitizer_defaults(<target>): in sanitizer builds, links the
# sanitizer settings and leak suppressions every test program needs.
function(orvane_sanitizer_defaults target)
  if(ORVANE_SANITIZE)
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/tools/sanitizer_defaults.c)
  endif()
endfunction()

# orvane_gtest(<name> SOURCES ... [LIBS ...] [LABELS tier] [NETNS] [TIMEOUT s] [SERIAL])
#   A GoogleTest executable whose test cases are registered one by one.
#   LIBS default to the shared SDK (Orvane). NETNS runs every case inside a
#   private network namespace where only loopback exists (tests/tools/netns-run).
#   SERIAL keeps the cases from running in parallel with other tests.
function(orvane_gtest name)
  cmake_parse_arguments(T "NETNS;SERIAL" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  orvane_strict(${name})
  if(name MATCHES "threads")
    set_property(GLOBAL APPEND PROPERTY ORVANE_THREADS_TESTS ${name})
  endif()
  if(NOT T_LIBS)
    set(T_LIBS Orvane)
  endif()
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gtest GTest::gtest_main GTest::gmock)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/common)
  target_compile_definitions(${name} PRIVATE ORVANE_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
                                             ORVANE_BINARY_DIR="${PROJECT_BINARY_DIR}")
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 120)
  endif()
  set(props TIMEOUT ${T_TIMEOUT})
  # gtest_discover_tests flattens list-valued properties: one label (the
  # tier) per test program. ThreadSanitizer runs select programs by name
  # (`threads` in the name).
  if(T_LABELS)
    list(GET T_LABELS 0 _label)
    list(APPEND props LABELS "${_label}")
  endif()
  if(T_SERIAL)
    list(APPEND props RUN_SERIAL TRUE)
  endif()
  # One variable only: gtest_discover_tests keeps the first item of a list.
  # Sanitizer settings are compiled in (orvane_sanitizer_defaults).
  list(APPEND props ENVIRONMENT "ORVANE_TRANSPORTS=virtual")
  orvane_sanitizer_defaults(${name})
  if(T_NETNS)
    # gtest_discover_tests reads the emulator when it is called: set it first,
    # so that listing and running every case go through netns-run.
    set_property(TARGET ${name} PROPERTY CROSSCOMPILING_EMULATOR ${PROJECT_SOURCE_DIR}/tests/tools/netns-run)
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
      PROPERTIES ${props}
      TEST_PREFIX "${name}."
      EXTRA_ARGS "")
  else()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES ${props} TEST_PREFIX "${name}.")
  endif()
endfunction()

# orvane_benchmark(<name> SOURCES ... [LIBS ...])
function(orvane_benchmark name)
  cmake_parse_arguments(B "" "" "SOURCES;LIBS" ${ARGN})
  find_package(benchmark REQUIRED)
  add_executable(${name} ${B_SOURCES})
  orvane_strict(${name})
  if(NOT B_LIBS)
    set(B_LIBS Orvane)
  endif()
  target_link_libraries(${name} PRIVATE ${B_LIBS} benchmark::benchmark)
  set_property(GLOBAL APPEND PROPERTY ORVANE_BENCHMARKS ${name})
endfunction()
