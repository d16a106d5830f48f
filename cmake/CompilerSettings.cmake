# One place for what every target is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

# A compiler cache, where there is one, makes a second build a matter of seconds.
find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER "${CCACHE}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE}")
endif()
# Precompiled headers, of the test framework and the toolkit, take a tenth from the time of building the tests, for 100 MB of
# disk each. A compiler cache takes more, and would not keep what is compiled with them.
option(CAMERA_SHOT_PRECOMPILED "Precompile headers, where there is no compiler cache" OFF)
if(NOT CAMERA_SHOT_PRECOMPILED OR CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
elseif(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(CAMERA_SHOT_PRECOMPILED_OPTIONS $<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
elseif(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  set(CAMERA_SHOT_PRECOMPILED_OPTIONS "$<$<COMPILE_LANGUAGE:CXX>:SHELL:-Xclang -fno-pch-timestamp>")
endif()

option(CAMERA_SHOT_WERROR "Treat warnings as errors" OFF)
set(CAMERA_SHOT_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")
option(CAMERA_SHOT_COVERAGE "Instrument for coverage" OFF)
option(CAMERA_SHOT_RELATIVE_PATHS "Leave the name of the source folder out of what is built" OFF)

# Our own targets link this; third-party headers come in as SYSTEM and stay out of it.
add_library(camera_shot_settings INTERFACE)
target_include_directories(camera_shot_settings INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(camera_shot_settings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
  -Woverloaded-virtual -Wold-style-cast $<$<BOOL:${CAMERA_SHOT_WERROR}>:-Werror>)

if(CAMERA_SHOT_SANITIZE)
  add_compile_options(-fsanitize=${CAMERA_SHOT_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${CAMERA_SHOT_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC warns of variables in the standard library itself (std::regex) once its code is instrumented (GCC bug 105562).
    target_compile_options(camera_shot_settings INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()
if(CAMERA_SHOT_RELATIVE_PATHS)
  add_compile_options("-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
endif()
if(CAMERA_SHOT_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

# camera_shot_library(NAME [FAST] [SOURCES…] [PUBLIC…] [PRIVATE…]): a static library of ours. What most of the program does,
# it does once a run or a picture: optimised builds make it small, as it has to be read from the disk and into memory first.
# What goes over each pixel is FAST.
function(camera_shot_library name)
  cmake_parse_arguments(LIB "FAST" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name} STATIC ${LIB_SOURCES})
  if(NOT LIB_FAST)
    target_compile_options(${name} PRIVATE "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-Os>")
  endif()
  target_link_libraries(${name} PUBLIC camera_shot_settings ${LIB_PUBLIC} PRIVATE ${LIB_PRIVATE})
endfunction()
