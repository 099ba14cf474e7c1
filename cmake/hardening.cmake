# Makes memory errors harder to exploit, in everything that is built: stack canaries, checked calls of the C library,
# stack clash protection, control-flow protection, read-only relocations. scripts/check-hardening.sh checks the result.
include(CheckCXXCompilerFlag)
add_compile_options(-fstack-protector-strong)
foreach(option -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER has${option} has)
  check_cxx_compiler_flag("-Werror ${option}" ${has})
  if(${has})
    add_compile_options(${option})
  endif()
endforeach()
# Requires optimised code. Sanitizers check the same calls themselves. A level chosen by the user is kept.
if(NOT KPX_SANITIZE AND NOT CMAKE_CXX_FLAGS MATCHES _FORTIFY_SOURCE)
  set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  add_compile_options($<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>)
endif()
add_link_options(-Wl,-z,relro,-z,now)

# kpx_is_of_kernels(TARGET): switches off canaries, which take up to 8 % of a kernel's time, and checked calls, which take
# up to 40 %. Aligns loops, so that their speed does not depend on the code before them.
function(kpx_is_of_kernels target)
  target_compile_options(${target} PRIVATE -fno-stack-protector "SHELL:-U _FORTIFY_SOURCE"
    -falign-functions=64 -falign-loops=64)
endfunction()
