# Compiler warnings and sanitizers shared by every target of the project.

add_library(trguest_warnings INTERFACE)
target_compile_options(trguest_warnings INTERFACE
  -Wall -Wextra -Wformat=2 -Wshadow -Wundef -Wvla
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wsuggest-override>)
if(TRGUEST_WERROR)
  target_compile_options(trguest_warnings INTERFACE -Werror)
endif()

if(TRGUEST_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
else()
  # Shared libraries must resolve every symbol they use.
  set(TRGUEST_NO_UNDEFINED_FLAG "-Wl,--no-undefined")
endif()

# Public include roots: the library's headers and the platform's.
add_library(trguest_headers INTERFACE)
target_include_directories(trguest_headers INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/platform/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(trguest_headers INTERFACE PkgConfig::LIBMD)
