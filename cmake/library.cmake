# The library: one set of objects, linked three ways.
#   kvnum           the shared library, exporting exactly exports/names.txt
#   kvnum_internal  a static library for tests, tuning and benchmarks that reach behind the interface
#   kvnum_seams     the shared library again, with the few extra entries a benchmark needs (instruction-set cap)

file(GLOB_RECURSE kvnum_sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/*.cpp)
list(FILTER kvnum_sources EXCLUDE REGEX "/src/exports/seams\\.cpp$")
if(WIN32)
  list(FILTER kvnum_sources EXCLUDE REGEX "_posix\\.cpp$")
else()
  list(FILTER kvnum_sources EXCLUDE REGEX "_windows\\.cpp$")
endif()

# Instruction sets are per file, told by the suffix of its name. These files hold kernels only: no exceptions, no LTO.
set(kvnum_isa_common -fno-exceptions -fno-lto)
set(kvnum_scalar_options ${kvnum_isa_common})
# Vector code under UndefinedBehaviorSanitizer takes minutes a file to compile and shows what the plain twins show.
if(KVNUM_SANITIZE MATCHES "undefined")
  list(APPEND kvnum_isa_common -fno-sanitize=undefined)
endif()
set(kvnum_isa_adx -mbmi2 -madx)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  list(APPEND kvnum_isa_adx -fno-integrated-as) # it does not fold the distance of two labels, which the rows check
endif()
set(kvnum_isa_avx2 -mavx2 -mfma -mbmi2)
# GCC 12 warns of its own intrinsics: https://gcc.gnu.org/bugzilla/show_bug.cgi?id=105593
set(kvnum_isa_avx512 ${kvnum_isa_avx2} -Wno-uninitialized -Wno-maybe-uninitialized -mavx512f -mavx512bw -mavx512dq -mavx512vl)
set(kvnum_isa_avx512ifma ${kvnum_isa_avx512} -mavx512ifma -mavx512vbmi -mavx512vbmi2)
foreach(isa adx avx2 avx512 avx512ifma)
  set(isa_files ${kvnum_sources})
  list(FILTER isa_files INCLUDE REGEX "_${isa}\\.cpp$")
  set_source_files_properties(${isa_files} PROPERTIES COMPILE_OPTIONS "${kvnum_isa_common};${kvnum_isa_${isa}}")
endforeach()
# The transform's kernels hold their points in registers only where short loops over them are unrolled; split
# radix-2^52 products gain a twentieth by it.
set(unrolled_kernel_files ${kvnum_sources})
list(FILTER unrolled_kernel_files INCLUDE REGEX
     "/(multiply/fft/fft_(avx2|avx512|avx512ifma)|kernels/ifma52_avx512ifma)\\.cpp$")
if(NOT KVNUM_SANITIZE)
  set_property(SOURCE ${unrolled_kernel_files} APPEND PROPERTY COMPILE_OPTIONS $<$<CONFIG:Release>:-O3>)
endif()
set(scalar_kernel_files ${kvnum_sources})
list(FILTER scalar_kernel_files INCLUDE REGEX "_scalar\\.cpp$")
set_source_files_properties(${scalar_kernel_files} PROPERTIES COMPILE_OPTIONS "${kvnum_scalar_options}")

add_library(kvnum_objects OBJECT ${kvnum_sources})
target_include_directories(kvnum_objects PUBLIC ${CMAKE_SOURCE_DIR}/src ${CMAKE_SOURCE_DIR}/include)
target_compile_definitions(kvnum_objects PRIVATE KVNUM_BUILDING KVNUM_VERSION="${PROJECT_VERSION}")

# The build report names the commit, as of the last configuration.
execute_process(COMMAND git describe --always --dirty WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
                OUTPUT_VARIABLE kvnum_revision OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(NOT kvnum_revision)
  set(kvnum_revision "no revision")
endif()
set_source_files_properties(src/exports/version_exports.cpp PROPERTIES
                            COMPILE_DEFINITIONS "KVNUM_REVISION=\"${kvnum_revision}\"")

# exports/names.txt makes the version script and the .def file.
set(names_file ${CMAKE_SOURCE_DIR}/src/exports/names.txt)
set_property(DIRECTORY ${CMAKE_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${names_file})
file(STRINGS ${names_file} export_names REGEX "^[A-Za-z]")
set(def_text "LIBRARY kvnum.dll\nEXPORTS\n")
set(map_text "{\nglobal:\n")
foreach(name ${export_names})
  string(APPEND def_text "    ${name}\n")
  string(APPEND map_text "    ${name};\n")
endforeach()
set(seams_map_text "${map_text}    kvnum_seam_*;\nlocal: *;\n};\n")
string(APPEND map_text "local: *;\n};\n")
file(CONFIGURE OUTPUT kvnum.def CONTENT "${def_text}" @ONLY)
file(CONFIGURE OUTPUT kvnum.map CONTENT "${map_text}" @ONLY)
file(CONFIGURE OUTPUT kvnum_seams.map CONTENT "${seams_map_text}" @ONLY)

function(kvnum_shared_library target map)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include> $<INSTALL_INTERFACE:include>)
  target_link_libraries(${target} PRIVATE Threads::Threads)
  set_target_properties(${target} PROPERTIES LINK_DEPENDS ${CMAKE_BINARY_DIR}/${map})
  if(NOT WIN32)
    target_link_options(${target} PRIVATE -Wl,--version-script=${CMAKE_BINARY_DIR}/${map} -Wl,--no-undefined)
  endif()
endfunction()

if(WIN32)
  add_library(kvnum SHARED $<TARGET_OBJECTS:kvnum_objects> ${CMAKE_BINARY_DIR}/kvnum.def)
  set_target_properties(kvnum PROPERTIES PREFIX "")
  kvnum_shared_library(kvnum kvnum.def)
else()
  add_library(kvnum SHARED $<TARGET_OBJECTS:kvnum_objects>)
  set_target_properties(kvnum PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0)
  kvnum_shared_library(kvnum kvnum.map)
  if(KVNUM_SANITIZE)
    set_target_properties(kvnum PROPERTIES LINK_OPTIONS "-Wl,--version-script=${CMAKE_BINARY_DIR}/kvnum.map")
  endif()
  add_library(kvnum_seams SHARED EXCLUDE_FROM_ALL $<TARGET_OBJECTS:kvnum_objects> src/exports/seams.cpp)
  target_include_directories(kvnum_seams PRIVATE ${CMAKE_SOURCE_DIR}/src)
  kvnum_shared_library(kvnum_seams kvnum_seams.map)
endif()

add_library(kvnum_internal STATIC $<TARGET_OBJECTS:kvnum_objects>)
target_include_directories(kvnum_internal PUBLIC ${CMAKE_SOURCE_DIR}/src ${CMAKE_SOURCE_DIR}/include)
target_link_libraries(kvnum_internal PUBLIC Threads::Threads)
