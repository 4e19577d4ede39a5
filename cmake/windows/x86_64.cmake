# Cross-building for 64-bit Windows with Debian's mingw-w64 (POSIX threads). What was built runs under Wine.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(ODS_WINDOWS_TRIPLE x86_64-w64-mingw32)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/wine)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain.cmake)
