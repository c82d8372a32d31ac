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
