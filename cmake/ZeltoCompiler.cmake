# Compiler settings shared by every target of the project, as the interface library zelto_compiler.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

add_library(zelto_compiler INTERFACE)

target_compile_options(zelto_compiler INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2 -Wcast-qual -Wundef
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
  $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
  $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes>
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wthread-safety>
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Werror=thread-safety>
  $<$<BOOL:${ZELTO_WERROR}>:-Werror>
  -fstack-protector-strong
  # gcc collects its garbage more often than these sources need, for a fourteenth of its time.
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:--param=ggc-min-heapsize=1048576>)

# A sanitizer brings run-time checks of its own, which the fortified calls would hide.
if(ZELTO_SANITIZE)
  target_compile_options(zelto_compiler INTERFACE
    -fsanitize=${ZELTO_SANITIZE} -fno-omit-frame-pointer)
  if(ZELTO_SANITIZE MATCHES "undefined")
    target_compile_options(zelto_compiler INTERFACE -fno-sanitize-recover=all)
  endif()
  target_link_options(zelto_compiler INTERFACE -fsanitize=${ZELTO_SANITIZE})
  # A C program gets the part of the sanitizer's runtime that the C++ library asks for, and what that part needs.
  target_link_options(zelto_compiler INTERFACE $<$<LINK_LANG_AND_ID:C,Clang>:-fsanitize-link-c++-runtime>)
  target_link_libraries(zelto_compiler INTERFACE $<$<LINK_LANG_AND_ID:C,Clang>:stdc++>)
else()
  target_compile_definitions(zelto_compiler INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
  # What libFuzzer counts is defined in its programs alone.
  if(NOT ZELTO_BUILD_FUZZERS)
    target_link_options(zelto_compiler INTERFACE LINKER:--no-undefined)
  endif()
endif()

target_link_options(zelto_compiler INTERFACE
  LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack LINKER:--as-needed)
