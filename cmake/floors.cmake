# A warning stops the build where this is developed, not where a newer compiler has learned a new one.
if("${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}" MATCHES "^(GNU 12|Clang 14)\\.")
    set(knownCompiler ON)
else()
    set(knownCompiler OFF)
endif()
option(VANTOR_WARNINGS_ARE_ERRORS "Stop at a warning" ${knownCompiler})
set(VANTOR_WARNINGS -Wall -Wextra -Wconversion)
if(VANTOR_WARNINGS_ARE_ERRORS)
    list(APPEND VANTOR_WARNINGS -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ 12 at -O3 takes `"x" + std::string` for an overlapping copy (GCC bug 105651).
    list(APPEND VANTOR_WARNINGS -Wno-restrict)
else()
    # clang counts a sign change among the conversions; g++ does not.
    list(APPEND VANTOR_WARNINGS -Wno-sign-conversion)
endif()

# For tests of what a document costs: a call at every branch of the floors that read it.
option(VANTOR_COUNT_STEPS "Count the steps of text, xml and metadata, for the tests" OFF)
if(VANTOR_COUNT_STEPS)
    add_library(vantor_step_counter STATIC ${CMAKE_SOURCE_DIR}/tests/support/step_counter.cpp)
    target_include_directories(vantor_step_counter PRIVATE ${CMAKE_SOURCE_DIR})
    target_link_options(vantor_step_counter INTERFACE
                        -Wl,--wrap=memchr,--wrap=memcmp,--wrap=memcpy,--wrap=memmove,--wrap=memset)
endif()

# One object library a floor: src/<name>/ with its sub-folders, linking the floors named after it.
function(vantor_floor name)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${name}/*.cpp
         ${CMAKE_SOURCE_DIR}/src/${name}/*.h)
    if(WIN32)
        list(FILTER sources EXCLUDE REGEX "_posix\\.cpp$")
    else()
        list(FILTER sources EXCLUDE REGEX "_windows\\.cpp$")
    endif()
    add_library(vantor_${name} STATIC ${sources})
    set_target_properties(vantor_${name} PROPERTIES LINKER_LANGUAGE CXX)
    target_include_directories(vantor_${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
    target_compile_options(vantor_${name} PRIVATE ${VANTOR_WARNINGS})
    foreach(lower ${ARGN})
        target_link_libraries(vantor_${name} PUBLIC vantor_${lower})
    endforeach()
    if(VANTOR_COUNT_STEPS AND name MATCHES "^(text|xml|metadata)$")
        target_compile_options(vantor_${name} PRIVATE -fsanitize-coverage=trace-pc)
        target_link_libraries(vantor_${name} PUBLIC vantor_step_counter)
    endif()
endfunction()

# The dialogs of a floor's windows go into whatever is linked with it: the linker would leave them in its archive.
function(vantor_window_resource name)
    if(NOT WIN32)
        return()
    endif()
    enable_language(RC)
    add_library(vantor_${name}_resource OBJECT ${CMAKE_SOURCE_DIR}/src/${name}/${name}.rc)
    target_sources(vantor_${name} INTERFACE $<TARGET_OBJECTS:vantor_${name}_resource>)
    target_link_libraries(vantor_${name} PUBLIC comctl32 gdi32 user32)
endfunction()

# On Windows: what the file's properties show of the product and its version.
function(vantor_version_resource target description file_name file_type)
    if(WIN32)
        set(resource ${CMAKE_BINARY_DIR}/${target}_version.rc)
        configure_file(${CMAKE_SOURCE_DIR}/cmake/version.rc.in ${resource} @ONLY)
        target_sources(${target} PRIVATE ${resource})
    endif()
endfunction()

# The plug-in itself: every floor, one exported symbol.
function(vantor_module)
    # The top floor goes in as sources: nothing refers to the entry, so the linker would leave it in its archive.
    get_target_property(entrySources vantor_entry SOURCES)
    add_library(vantor_wave MODULE ${entrySources})
    set_target_properties(vantor_wave PROPERTIES PREFIX "")
    target_compile_options(vantor_wave PRIVATE ${VANTOR_WARNINGS})
    target_link_libraries(vantor_wave PRIVATE vantor_source Threads::Threads)
    vantor_version_resource(vantor_wave "Audio files for multitrack hosts" vantor_wave.dll VFT_DLL)
    if(WIN32)
        target_link_options(vantor_wave PRIVATE ${CMAKE_SOURCE_DIR}/cmake/exports.def)
    else()
        # Without a build id, which would tell in what folder the debug information was made.
        target_link_options(vantor_wave PRIVATE -Wl,--build-id=none
                            -Wl,--version-script=${CMAKE_SOURCE_DIR}/cmake/exports.map -Wl,-z,defs)
        set_target_properties(vantor_wave PROPERTIES LINK_DEPENDS ${CMAKE_SOURCE_DIR}/cmake/exports.map)
    endif()
endfunction()
