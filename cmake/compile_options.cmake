# Language level, warnings and sanitizers, the same for every target of the project.

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

set(TAVLIB_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
# Also where this machine would read a number at any address.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  list(APPEND TAVLIB_WARNINGS -Wcast-align=strict)
else()
  list(APPEND TAVLIB_WARNINGS -Wcast-align)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 sees overlapping copies in std::string's own operator+ when it optimises.
  list(APPEND TAVLIB_WARNINGS -Wno-restrict)
endif()

# Where long has 32 bits, times and sizes of files still have 64. No public header has either.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()

if(TAVLIB_SANITIZE)
  add_compile_options(-fsanitize=${TAVLIB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TAVLIB_SANITIZE})
endif()

function(tavlib_compile_options target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES
    C_STANDARD 11 C_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${target} PRIVATE ${TAVLIB_WARNINGS}
    $<$<BOOL:${TAVLIB_WARNINGS_AS_ERRORS}>:-Werror>)
endfunction()
