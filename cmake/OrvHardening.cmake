# orv_harden(TARGET): stack protector and checked library calls in what is compiled, symbols bound at start and read-only
# from then on in what is linked. The bits of results are the same.
function(orv_harden target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
  if(NOT ORV_SANITIZE)
    # Needs optimisation.
    target_compile_options(${target} PRIVATE
      "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  endif()
  target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now)
endfunction()
