# The targets of the library's layers. Each folder below src/ calls this once; what a layer may include is what it
# links, so a wrong dependency does not compile (scripts/check-layers.sh checks the include lines as well).
function(quillmark_layer name)
  cmake_parse_arguments(LAYER "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(${name} STATIC ${LAYER_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${LAYER_DEPENDS} PRIVATE quillmark_warnings)
  set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
endfunction()
