# Cross-building for 64-bit Windows with the mingw-w64 compilers that use POSIX threads. What is built here needs no DLL
# of the compiler: its runtime, the C++ library and the thread library are linked in.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_DLLTOOL x86_64-w64-mingw32-dlltool)

# Windows 8 and later; without it the headers hide part of what is used.
set(CMAKE_CXX_FLAGS_INIT "-D_WIN32_WINNT=0x0602")
set(CMAKE_C_FLAGS_INIT "-D_WIN32_WINNT=0x0602")

# Addresses chosen at load time out of all 64 bits, data that is not run.
set(quillmark_link_flags
  "-static -static-libgcc -static-libstdc++ -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${quillmark_link_flags}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${quillmark_link_flags}")

# What is built runs here all the same.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine.sh)

# scripts/windows-dependencies.sh installs there.
get_filename_component(quillmark_dependencies ${CMAKE_CURRENT_LIST_DIR}/../build/windows-dependencies/prefix ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${quillmark_dependencies} /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
