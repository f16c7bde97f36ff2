# Signs programs of the build, and tells the lab whose signatures to trust. The authority belongs
# to the build directory, which keeps its key out of the source tree.

set(KORVAN_AUTHORITY ${PROJECT_BINARY_DIR}/authority)
set(KORVAN_TRUST_ANCHOR ${KORVAN_AUTHORITY}/authority.pem CACHE FILEPATH
    "PEM certificate that the lab trusts: the chain of the host's signature must end in it")

find_program(KORVAN_OPENSSL openssl REQUIRED)
mark_as_advanced(KORVAN_OPENSSL)

# A half-made authority is useless, and the tool never replaces one.
add_custom_command(
  OUTPUT ${KORVAN_AUTHORITY}/authority.pem ${KORVAN_AUTHORITY}/authority.key
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${KORVAN_AUTHORITY}
  COMMAND ${PROJECT_SOURCE_DIR}/tools/make-signing-authority ${KORVAN_AUTHORITY}
  COMMENT "Making the signing authority" VERBATIM)
add_custom_target(korvan_authority DEPENDS ${KORVAN_AUTHORITY}/authority.pem
                                           ${KORVAN_AUTHORITY}/authority.key)

# korvan_sign(TARGET): signs the program each time it is linked, as the configured host. Call it
# in the directory that adds the target.
function(korvan_sign target)
  add_dependencies(${target} korvan_authority)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS
               ${KORVAN_AUTHORITY}/authority.pem ${PROJECT_SOURCE_DIR}/tools/sign-executable)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${PROJECT_SOURCE_DIR}/tools/sign-executable ${KORVAN_AUTHORITY} $<TARGET_FILE:${target}>
            --identifier ${KORVAN_HOST_BUNDLE_IDENTIFIER} --team ${KORVAN_HOST_TEAM_IDENTIFIER}
    COMMENT "Signing ${target}" VERBATIM)
endfunction()

# korvan_embed_trust_anchor(TARGET): gives the target the header "lab/system/TrustAnchor.h", made by the
# build because the authority is.
function(korvan_embed_trust_anchor target)
  set(root ${PROJECT_BINARY_DIR}/generated/${target})
  set(script ${PROJECT_SOURCE_DIR}/cmake/EmbedTrustAnchor.cmake)
  add_custom_command(
    OUTPUT ${root}/lab/system/TrustAnchor.h
    COMMAND ${CMAKE_COMMAND} -D CERTIFICATE=${KORVAN_TRUST_ANCHOR} -D HEADER=${root}/lab/system/TrustAnchor.h
            -P ${script}
    DEPENDS ${KORVAN_TRUST_ANCHOR} ${script} ${PROJECT_SOURCE_DIR}/cmake/TrustAnchor.h.in
            korvan_authority
    COMMENT "Embedding the trust anchor" VERBATIM)
  target_sources(${target} PRIVATE ${root}/lab/system/TrustAnchor.h)
  target_include_directories(${target} PUBLIC ${root})
endfunction()
