# The one place where warnings are chosen. Every target of ours links quillmark_warnings privately.
add_library(quillmark_warnings INTERFACE)
target_compile_options(quillmark_warnings INTERFACE
  -Wall -Wextra -Wconversion -Wshadow -Wpedantic -Werror
  -Woverloaded-virtual -Wcast-align -Wformat=2 -Wimplicit-fallthrough
  # A precompiled header holds back no warning of the file that uses it.
  -Winvalid-pch)
