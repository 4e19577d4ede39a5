# What Debian builds its own programs with (`dpkg-buildflags --get CXXFLAGS`), for what is installed. Tests are left
# alone: they are not optimised, and _FORTIFY_SOURCE wants that. Programs for Windows get what its linker does by itself.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT ODS_SANITIZE AND NOT WIN32)
  add_compile_options(-fstack-protector-strong -Wformat -Werror=format-security)
  add_compile_definitions(_FORTIFY_SOURCE=2)
  add_link_options(-Wl,-z,relro,-z,now)
endif()
