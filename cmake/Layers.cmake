# tavmms_layer(<name> <folder> SOURCES <files> [USES <targets>]): one layer of the code.
#   <name>          an interface target: the layer's headers (its folder) and those of the
#                   layers it USES, with the libraries they need. Nothing else is seen, so an
#                   include that goes the wrong way between layers does not compile.
#   <name>_objects  its sources, compiled once for the shared library and the tests' archive.
# Every layer is built with hidden symbols: only what carries an export mark leaves a shared
# library. The object targets are listed in the global property TAVMMS_OBJECT_TARGETS.
function(tavmms_layer name folder)
    cmake_parse_arguments(LAYER "" "" "SOURCES;USES" ${ARGN})
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${CMAKE_CURRENT_SOURCE_DIR}/${folder})
    target_link_libraries(${name} INTERFACE Qt6::Core ${LAYER_USES})
    if(LAYER_SOURCES)
        add_library(${name}_objects OBJECT ${LAYER_SOURCES})
        set_target_properties(${name}_objects PROPERTIES
            POSITION_INDEPENDENT_CODE ON
            CXX_VISIBILITY_PRESET hidden
            VISIBILITY_INLINES_HIDDEN ON)
        target_link_libraries(${name}_objects PRIVATE ${name})
        set_property(GLOBAL APPEND PROPERTY TAVMMS_OBJECT_TARGETS ${name}_objects)
    endif()
endfunction()

# tavmms_bundle(<target> SHARED|STATIC|MODULE <layers>...): a library of the layers' objects,
# which sees and links what the layers need (PUBLIC for an archive, which the tests link).
function(tavmms_bundle target type)
    set(objects)
    foreach(layer IN LISTS ARGN)
        if(TARGET ${layer}_objects)
            list(APPEND objects $<TARGET_OBJECTS:${layer}_objects>)
        endif()
    endforeach()
    add_library(${target} ${type} ${objects})
    if(type STREQUAL STATIC)
        target_link_libraries(${target} PUBLIC ${ARGN})
    else()
        target_link_libraries(${target} PRIVATE ${ARGN})
    endif()
endfunction()
