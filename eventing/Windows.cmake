# QUILLMARK_EVENTING.dll, and quillmark_eventing, the import library that programs and the client library link. The linker's
# own import library of a DLL whose exports have no names does not resolve all of them; dlltool's does.
set(eventing_def ${CMAKE_CURRENT_SOURCE_DIR}/eventing.def)
add_library(quillmark_eventing_dll SHARED ${eventing_sources} src/LogFileWindows.cpp ${eventing_def})
target_include_directories(quillmark_eventing_dll PRIVATE src ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(quillmark_eventing_dll
  PUBLIC quillmark_eventing_headers
  PRIVATE quillmark_windows quillmark_warnings)
set_target_properties(quillmark_eventing_dll PROPERTIES PREFIX "" OUTPUT_NAME QUILLMARK_EVENTING)
quillmark_version_resource(quillmark_eventing_dll "Quillmark log library" VFT_DLL)

set(eventing_import_library ${CMAKE_CURRENT_BINARY_DIR}/libquillmark_eventing_ordinals.a)
add_custom_command(OUTPUT ${eventing_import_library}
  COMMAND ${CMAKE_DLLTOOL} --input-def ${eventing_def} --dllname QUILLMARK_EVENTING.dll
    --output-lib ${eventing_import_library}
  DEPENDS ${eventing_def}
  VERBATIM)
add_custom_target(quillmark_eventing_import DEPENDS ${eventing_import_library})
add_library(quillmark_eventing INTERFACE)
target_link_libraries(quillmark_eventing INTERFACE quillmark_eventing_headers ${eventing_import_library})
add_dependencies(quillmark_eventing quillmark_eventing_import quillmark_eventing_dll)
