# How every target of the project is made: standard, warnings, visibility, output folders, public headers.

include_guard(GLOBAL)
include(GenerateExportHeader)

# Folder of the forwarding headers that let the build tree be used as <Marblewick/Name.h>, like an
# installed prefix.
set(MARBLEWICK_FORWARDING_DIR ${PROJECT_BINARY_DIR}/include)

function(marblewick_compile_options target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin
        LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib
    )
    target_compile_definitions(${target} PRIVATE
        QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH QT_NO_KEYWORDS
    )
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
        -Wnon-virtual-dtor -Woverloaded-virtual
    )
    if(MARBLEWICK_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(MARBLEWICK_SANITIZERS)
        target_compile_options(${target} PRIVATE -fsanitize=${MARBLEWICK_SANITIZERS}
            -fno-omit-frame-pointer -fno-sanitize-recover=undefined
        )
        target_link_options(${target} PRIVATE -fsanitize=${MARBLEWICK_SANITIZERS})
    endif()
endfunction()

# marblewick_add_library(Core) makes the target MarblewickCore, its alias Marblewick::Core, the library
# libMarblewickCore and the export macro MARBLEWICK_CORE_EXPORT.
function(marblewick_add_library name)
    set(target Marblewick${name})
    add_library(${target} SHARED)
    add_library(Marblewick::${name} ALIAS ${target})
    marblewick_compile_options(${target})
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${name}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        INSTALL_RPATH "$ORIGIN"
    )
    target_link_options(${target} PRIVATE -Wl,--as-needed)
    if(NOT MARBLEWICK_SANITIZERS)
        # With a sanitizer its runtime, which is in the program, stays undefined.
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
    string(TOUPPER MARBLEWICK_${name} prefix)
    generate_export_header(${target} BASE_NAME ${prefix}
        EXPORT_FILE_NAME ${MARBLEWICK_FORWARDING_DIR}/Marblewick/${target}Export.h
    )
    target_include_directories(${target}
        PUBLIC
            $<BUILD_INTERFACE:${MARBLEWICK_FORWARDING_DIR}>
            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
        PRIVATE ${PROJECT_SOURCE_DIR}
    )
    set_property(GLOBAL APPEND PROPERTY MARBLEWICK_INSTALLED_TARGETS ${target})
    set_property(GLOBAL APPEND PROPERTY MARBLEWICK_INSTALLED_HEADERS
        ${MARBLEWICK_FORWARDING_DIR}/Marblewick/${target}Export.h
    )
endfunction()

# A library that Core loads by name when it first needs it. Plugins lie in the folder "marblewick" beside
# the Core library, in the build tree as in an installed prefix.
function(marblewick_add_plugin name)
    add_library(${name} MODULE ${ARGN})
    marblewick_compile_options(${name})
    set_target_properties(${name} PROPERTIES
        PREFIX ""
        LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib/marblewick
        INSTALL_RPATH "$ORIGIN/.."
    )
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    set_property(GLOBAL APPEND PROPERTY MARBLEWICK_INSTALLED_PLUGINS ${name})
    add_dependencies(MarblewickCore ${name})
endfunction()

# Headers that hosts include as <Marblewick/Name.h>.
function(marblewick_public_headers)
    foreach(header IN LISTS ARGN)
        cmake_path(ABSOLUTE_PATH header BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
        cmake_path(GET header FILENAME name)
        file(CONFIGURE OUTPUT ${MARBLEWICK_FORWARDING_DIR}/Marblewick/${name}
            CONTENT "#include \"${header}\"\n"
        )
        set_property(GLOBAL APPEND PROPERTY MARBLEWICK_INSTALLED_HEADERS ${header})
    endforeach()
endfunction()

# <Marblewick/Marblewick.h>: every public header but those of Platform/ and the generated ones.
function(marblewick_add_umbrella_header)
    get_property(headers GLOBAL PROPERTY MARBLEWICK_INSTALLED_HEADERS)
    set(content "#pragma once\n\n// Every service of the framework.\n")
    set(platform ${PROJECT_SOURCE_DIR}/Platform)
    foreach(header IN LISTS headers)
        cmake_path(GET header FILENAME name)
        cmake_path(IS_PREFIX platform ${header} is_platform)
        cmake_path(IS_PREFIX MARBLEWICK_FORWARDING_DIR ${header} is_generated)
        if(NOT is_platform AND NOT is_generated)
            string(APPEND content "#include <Marblewick/${name}>\n")
        endif()
    endforeach()
    set(umbrella ${MARBLEWICK_FORWARDING_DIR}/Marblewick/Marblewick.h)
    file(CONFIGURE OUTPUT ${umbrella} CONTENT "${content}" @ONLY)
    set_property(GLOBAL APPEND PROPERTY MARBLEWICK_INSTALLED_HEADERS ${umbrella})
endfunction()
