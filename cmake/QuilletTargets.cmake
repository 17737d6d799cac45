# SPDX-License-Identifier: MIT
# Each folder is a target; a new file is picked up by itself.

add_library(quillet_options INTERFACE)
target_include_directories(quillet_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(quillet_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Werror
  -Wno-missing-field-initializers)
target_compile_definitions(quillet_options INTERFACE BOOST_ASIO_NO_DEPRECATED QUILLET_VERSION="${PROJECT_VERSION}")
if(QUILLET_SANITIZE)
  # A finding's stack tells functions and lines; more of a debugger's information costs a tenth of the time to build.
  target_compile_options(quillet_options INTERFACE -fsanitize=${QUILLET_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all -gline-tables-only)
  target_link_options(quillet_options INTERFACE -fsanitize=${QUILLET_SANITIZE})
endif()

# What ships ends rather than goes on with a damaged stack, buffer or return address. Debug builds and the sanitizers'
# do without.
set(hardened $<NOT:$<CONFIG:Debug>>)
if(QUILLET_SANITIZE)
  set(hardened 0)
endif()
set(branch_protection $<IF:$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>,-fcf-protection=full,-mbranch-protection=standard>)
target_compile_options(quillet_options INTERFACE
  $<${hardened}:-fstack-protector-strong> $<${hardened}:-U_FORTIFY_SOURCE> $<${hardened}:-D_FORTIFY_SOURCE=2>
  $<${hardened}:${branch_protection}> $<${hardened}:-fPIE>)
target_link_options(quillet_options INTERFACE $<${hardened}:-pie> $<${hardened}:LINKER:-z,relro,-z,now>
  $<${hardened}:LINKER:-z,noexecstack>
  $<$<AND:${hardened},$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>>:LINKER:-z,shstk>)

# quillet_library(NAME FOLDER...): all sources of the folders and of the rooms in them, but main.cpp.
function(quillet_library name)
  set(sources)
  foreach(folder ${ARGN})
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp ${PROJECT_SOURCE_DIR}/${folder}/*.h)
    list(APPEND sources ${found})
  endforeach()
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  add_library(${name} STATIC ${sources})
  target_link_libraries(${name} PUBLIC quillet_options)
endfunction()

# quillet_program(NAME FOLDER LIBRARY...): FOLDER/main.cpp.
function(quillet_program name folder)
  add_executable(${name} ${PROJECT_SOURCE_DIR}/${folder}/main.cpp)
  target_link_libraries(${name} PRIVATE ${ARGN})
endfunction()

# quillet_tests(FOLDER LIBRARY...): one test program for Tests/FOLDER.
function(quillet_tests folder)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/Tests/${folder}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(${folder}Tests ${sources})
  target_link_libraries(${folder}Tests PRIVATE quillet_doubles ${ARGN})
  gtest_discover_tests(${folder}Tests PROPERTIES TIMEOUT 120 DISCOVERY_TIMEOUT 60)
endfunction()
