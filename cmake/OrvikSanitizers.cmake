# Sanitizer builds apply to everything configured in the tree, tests and examples included.
if(ORVIK_SANITIZE STREQUAL "address+undefined")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(ORVIK_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(NOT ORVIK_SANITIZE STREQUAL "")
  message(FATAL_ERROR "ORVIK_SANITIZE must be empty, address+undefined or thread")
endif()

# In a fuzzing build every object carries libFuzzer's coverage instrumentation, so that the
# fuzzer sees the library's branches and not only those of the target file.
if(ORVIK_BUILD_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
