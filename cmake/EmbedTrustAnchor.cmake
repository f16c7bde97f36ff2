# Writes HEADER with the text of CERTIFICATE: cmake -D CERTIFICATE=file -D HEADER=file -P this

file(READ "${CERTIFICATE}" pem)
if(NOT pem MATCHES "-----BEGIN CERTIFICATE-----\n[A-Za-z0-9+/=\n]+-----END CERTIFICATE-----\n")
  message(FATAL_ERROR "The trust anchor ${CERTIFICATE} is no certificate in PEM.")
endif()

# Only the certificate itself: what people write around it could end the literal.
set(TRUST_ANCHOR_PEM "${CMAKE_MATCH_0}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/TrustAnchor.h.in "${HEADER}" @ONLY)
# Newer than the certificate even when the text is the same.
file(TOUCH "${HEADER}")
