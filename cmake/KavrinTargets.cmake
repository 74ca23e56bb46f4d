# SPDX-License-Identifier: MIT
# Makes every target of the project with the same warnings, the same strict Qt and the same sanitizers.

# kavrin_precompile(core HEADERS <QtCore> LINKS Qt6::Core): compiles the headers once, as kavrin_core_headers. Targets
# that are made while KAVRIN_HEADERS has that name use them.
function(kavrin_precompile name)
  cmake_parse_arguments(arg "" "" "HEADERS;LINKS" ${ARGN})
  file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/headers/${name}.cpp CONTENT "")
  add_library(kavrin_${name}_headers OBJECT ${PROJECT_BINARY_DIR}/headers/${name}.cpp)
  target_link_libraries(kavrin_${name}_headers PRIVATE ${arg_LINKS})
  target_precompile_headers(kavrin_${name}_headers PRIVATE ${arg_HEADERS})
  set_target_properties(kavrin_${name}_headers PROPERTIES AUTOMOC OFF)
  set(KAVRIN_HEADERS "")
  kavrin_configure(kavrin_${name}_headers)
  # GCC's output differs each time. ccache takes this text in its place.
  file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/CMakeFiles/kavrin_${name}_headers.dir/cmake_pch.hxx.gch.sum
    CONTENT "GCC ${CMAKE_CXX_COMPILER_VERSION} Qt ${Qt6_VERSION} QCoro ${QCoro6_VERSION} GTest ${GTest_VERSION}\n")
endfunction()

function(kavrin_configure target)
  if(KAVRIN_HEADERS)
    target_precompile_headers(${target} REUSE_FROM ${KAVRIN_HEADERS})
  endif()
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
  if(KAVRIN_SANITIZE MATCHES thread)
    # Qt's generated code has fences, which this sanitizer does not know. At worst, it reports too much.
    target_compile_options(${target} PRIVATE -Wno-tsan)
  endif()
endfunction()

# kavrin_library(store SOURCES Shared.cpp LINKS kavrin_platform): the library kavrin_store of one folder.
function(kavrin_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINKS" ${ARGN})
  add_library(kavrin_${name} STATIC ${arg_SOURCES})
  target_link_libraries(kavrin_${name} PUBLIC ${arg_LINKS})
  kavrin_configure(kavrin_${name})
endfunction()

# kavrin_module(curl SOURCES Fetch.cpp LINKS CURL::libcurl): lib/kavrin/kavrin_curl.so, which a program loads
# when it first needs it (platform/linux/Module.h).
function(kavrin_module name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINKS" ${ARGN})
  set(KAVRIN_HEADERS "")  # a module is compiled in another way than the programs
  add_library(kavrin_${name} MODULE ${arg_SOURCES})
  target_link_libraries(kavrin_${name} PRIVATE ${arg_LINKS})
  kavrin_configure(kavrin_${name})
  set_target_properties(kavrin_${name} PROPERTIES PREFIX "" LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib/kavrin)
endfunction()

# kavrin_executable(kavrinctl SOURCES main.cpp LINKS kavrin_store)
function(kavrin_executable name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LINKS})
  kavrin_configure(${name})
endfunction()

# kavrin_qml_library(theme URI Kavrin.Theme SINGLETONS Theme.qml QML Card.qml SOURCES … LINKS …): the library
# kavrin_theme of one folder, with its QML compiled in. Link kavrin_theme_qml to use it, which takes the whole library:
# no C++ refers to the types that QML imports, so the linker would drop them.
function(kavrin_qml_library name)
  cmake_parse_arguments(arg "" "URI" "SINGLETONS;QML;SOURCES;LINKS" ${ARGN})
  set_source_files_properties(${arg_SINGLETONS} PROPERTIES QT_QML_SINGLETON_TYPE TRUE)
  string(REPLACE . / folder ${arg_URI})
  add_library(kavrin_${name} STATIC)
  qt_add_qml_module(kavrin_${name}
    URI ${arg_URI} VERSION 1.0 NO_PLUGIN
    RESOURCE_PREFIX /qt/qml
    OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/qml/${folder}
    IMPORT_PATH ${PROJECT_BINARY_DIR}/qml
    SOURCES ${arg_SOURCES}
    QML_FILES ${arg_SINGLETONS} ${arg_QML})
  target_link_libraries(kavrin_${name} PUBLIC ${arg_LINKS} Qt6::Quick)
  kavrin_configure(kavrin_${name})
  add_library(kavrin_${name}_qml INTERFACE)
  target_link_libraries(kavrin_${name}_qml INTERFACE $<LINK_LIBRARY:WHOLE_ARCHIVE,kavrin_${name}>)
endfunction()
