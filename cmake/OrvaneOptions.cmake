# Compiler flags every Orvane target gets, and the sanitizer switch.

# Paths in __FILE__ are made relative to the source tree, so exception file
# texts do not depend on where the project was checked out.
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

# orvane_strict(target): warnings of the project's own code.
function(orvane_strict target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -pedantic -Wshadow $<$<COMPILE_LANGUAGE:CXX>:-Wno-missing-field-initializers>)
  if(ORVANE_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # gcc's flow analysis misreads sanitizer-instrumented code (the standard
    # library's <regex> among it) and reports variables as maybe uninitialized.
    target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
  endif()
  if(ORVANE_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

if(ORVANE_SANITIZE)
  string(REPLACE "," ";" _orv_sanitizers "${ORVANE_SANITIZE}")
  foreach(_s IN LISTS _orv_sanitizers)
    if(NOT _s MATCHES "^(address|undefined|thread|leak)$")
      message(FATAL_ERROR "ORVANE_SANITIZE: unknown sanitizer '${_s}'")
    endif()
  endforeach()
  add_compile_options(-fsanitize=${ORVANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ORVANE_SANITIZE})
  if(ORVANE_SANITIZE MATCHES "undefined")
    # vptr checks need RTTI of every class they meet; GLib objects have none.
    add_compile_options(-fno-sanitize=vptr)
  endif()
endif()

# ORVANE_FUZZ: every target gets libFuzzer's coverage instrumentation with
# AddressSanitizer and UndefinedBehaviorSanitizer; the fuzz targets of
# tests/fuzz link libFuzzer itself (-fsanitize=fuzzer).
if(ORVANE_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "ORVANE_FUZZ needs clang (CC=clang CXX=clang++)")
  endif()
  if(ORVANE_SANITIZE)
    message(FATAL_ERROR "ORVANE_FUZZ brings its own sanitizers: leave ORVANE_SANITIZE empty")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize=vptr -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
endif()
