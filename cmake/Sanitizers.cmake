# QUILLMARK_SANITIZE is a list for -fsanitize=, set by the presets asan and tsan; empty otherwise. Those presets optimise
# little, and keep only what a report's stack trace needs: instrumented code takes long enough to compile.
set(QUILLMARK_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize= takes them")
if(QUILLMARK_SANITIZE)
  # The compiler loses track of what is initialised in instrumented code, in the standard library's own among others.
  add_compile_options(-fsanitize=${QUILLMARK_SANITIZE} -fno-omit-frame-pointer -Wno-maybe-uninitialized)
  add_link_options(-fsanitize=${QUILLMARK_SANITIZE})
  if(QUILLMARK_SANITIZE MATCHES "undefined")
    # The check of virtual tables probes memory through a pipe, and takes every object for a broken one where a test
    # leaves the process no descriptors.
    add_compile_options(-fno-sanitize-recover=undefined -fno-sanitize=vptr)
  endif()
endif()
