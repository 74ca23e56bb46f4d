# SPDX-License-Identifier: MIT
# How every target of the project is made: the same warnings, the same strict Qt, the same sanitizers.

function(kavrin_configure target)
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/KavriniOS ${PROJECT_SOURCE_DIR})
  target_compile_definitions(${target} PRIVATE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS
    KAVRIN_VERSION="${PROJECT_VERSION}")
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion)
  if(KAVRIN_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(KAVRIN_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${KAVRIN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${KAVRIN_SANITIZE})
  endif()
endfunction()

# kavrin_library(store SOURCES Shared.cpp LINKS kavrin_platform): the library kavrin_store of one folder.
function(kavrin_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINKS" ${ARGN})
  add_library(kavrin_${name} STATIC ${arg_SOURCES})
  target_link_libraries(kavrin_${name} PUBLIC ${arg_LINKS})
  kavrin_configure(kavrin_${name})
endfunction()

# kavrin_executable(kavrinctl SOURCES main.cpp LINKS kavrin_store)
function(kavrin_executable name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LINKS})
  kavrin_configure(${name})
endfunction()
