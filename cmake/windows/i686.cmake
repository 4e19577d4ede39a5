# Cross-building for 32-bit Windows with Debian's mingw-w64 (POSIX threads): for drivers that exist in that width only.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(ODS_WINDOWS_TRIPLE i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain.cmake)
