# What every target of the project shares: warnings, include roots, sanitizer exceptions.

set(TEVORO_COMMON_WARNINGS
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-align -Wformat=2 -Wimplicit-fallthrough -Wextra-semi)
set(TEVORO_GNU_WARNINGS
  -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wsuggest-override)
set(TEVORO_CLANG_WARNINGS -Wthread-safety)

# Has a library of the product compiled with its precompiled headers (ProductHeaders.cmake).
function(tevoro_reuse_headers target)
  get_target_property(qt ${target} TEVORO_USES_QT)
  if(qt)
    target_precompile_headers(${target} REUSE_FROM qt_product_headers)
  else()
    target_precompile_headers(${target} REUSE_FROM product_headers)
  endif()
endfunction()

# tevoro_target(TARGET): house warnings and the include roots core/, modules/ and apps/.
function(tevoro_target target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_compile_options(${target} PRIVATE
    ${TEVORO_COMMON_WARNINGS}
    $<$<CXX_COMPILER_ID:GNU>:${TEVORO_GNU_WARNINGS}>
    $<$<CXX_COMPILER_ID:Clang>:${TEVORO_CLANG_WARNINGS}>
    $<$<BOOL:${TEVORO_WARNINGS_AS_ERRORS}>:-Werror>)
  target_include_directories(${target} PUBLIC
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/core>"
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/modules>"
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/apps>")
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  get_target_property(type ${target} TYPE)
  if(TEVORO_HAS_PRODUCT_HEADERS AND NOT type STREQUAL "EXECUTABLE")
    # Not now: whether it uses Qt is told later.
    cmake_language(EVAL CODE "cmake_language(DEFER CALL tevoro_reuse_headers [[${target}]])")
  endif()
endfunction()

# tevoro_qt_target(TARGET): house rules for code that uses Qt.
function(tevoro_qt_target target)
  target_compile_definitions(${target} PRIVATE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_FOREACH
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
  set_target_properties(${target} PROPERTIES TEVORO_USES_QT ON)
endfunction()

# tevoro_contract_target(TARGET): code that calls, or is called through, tables of the host
# contract. The other side's objects carry type information of their own (or none), so the
# vptr check of the undefined-behaviour sanitizer does not hold there.
function(tevoro_contract_target target)
  if(CMAKE_CXX_FLAGS MATCHES "undefined")
    target_compile_options(${target} PRIVATE -fno-sanitize=vptr)
  endif()
endfunction()

# tevoro_command_line(SOURCES...): sources that read a command line. Half a minute each goes into
# optimising the parser under sanitizers, for nothing.
function(tevoro_command_line)
  if(CMAKE_CXX_FLAGS MATCHES "fsanitize")
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "-O0" SKIP_PRECOMPILE_HEADERS ON)
  endif()
endfunction()
