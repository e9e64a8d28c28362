# Compiler options shared by every target of the project.
add_library(velune_options INTERFACE)
target_compile_options(velune_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
  -Wcast-align -Woverloaded-virtual -Wformat=2
  -Wimplicit-fallthrough
  # Source paths in log records are relative to the project root.
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
# ccache with a base_dir hands the compiler paths relative to the build folder;
# those are trimmed to the project root too.
file(RELATIVE_PATH _source_from_build ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR})
string(REGEX REPLACE "/+$" "" _source_from_build "${_source_from_build}")
if(_source_from_build)
  target_compile_options(velune_options INTERFACE -fmacro-prefix-map=${_source_from_build}/=)
endif()
if(VELUNE_WERROR)
  target_compile_options(velune_options INTERFACE -Werror)
endif()

if(VELUNE_SANITIZE)
  string(REPLACE ";" "," _sanitizers "${VELUNE_SANITIZE}")
  target_compile_options(velune_options INTERFACE -fsanitize=${_sanitizers} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(velune_options INTERFACE -fsanitize=${_sanitizers})
endif()

# Collects the sources of one layer folder; every .cpp of the folder belongs to
# its layer's library, so adding a class never touches a shared list.
function(velune_layer_sources out dir)
  file(GLOB_RECURSE _sources CONFIGURE_DEPENDS ${dir}/*.cpp)
  set(${out} ${_sources} PARENT_SCOPE)
endfunction()

# Gives a target an include root that holds only the layer folders it may
# include (as links to the sources), so that "#include "host/..."" from a layer
# that must not see the host fails to compile. The allowed arrows are drawn in
# docs/architecture.md; scripts/check-includes.sh checks the same rules in CI.
function(velune_include_layers target)
  set(_root ${PROJECT_BINARY_DIR}/include/${target})
  file(MAKE_DIRECTORY ${_root})
  foreach(_layer IN LISTS ARGN)
    if(NOT EXISTS ${_root}/${_layer})
      file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${_layer} ${_root}/${_layer} SYMBOLIC)
    endif()
  endforeach()
  get_target_property(_type ${target} TYPE)
  if(_type STREQUAL "INTERFACE_LIBRARY")
    target_include_directories(${target} INTERFACE ${_root})
  else()
    target_include_directories(${target} PRIVATE ${_root})
  endif()
endfunction()

# Every layer folder, for the programs, tests and benchmarks that wire them.
set(VELUNE_ALL_LAYERS platform host diag model views preview browse app shell programs tests bench
    CACHE INTERNAL "")
add_library(velune_wiring INTERFACE)
velune_include_layers(velune_wiring ${VELUNE_ALL_LAYERS})

# Fuzz builds instrument every library for libFuzzer's coverage; the fuzz
# targets add the fuzzer's own main.
if(VELUNE_FUZZ)
  target_compile_options(velune_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
