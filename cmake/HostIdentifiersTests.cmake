# What the configuration refuses, and that it says so.

function(korvan_test_identifier name variable value expected)
  add_test(NAME HostIdentifiers.${name}
    COMMAND ${CMAKE_COMMAND} "-D${variable}=${value}" -P ${PROJECT_SOURCE_DIR}/cmake/HostIdentifiers.cmake)
  set_tests_properties(HostIdentifiers.${name} PROPERTIES ${expected})
endfunction()

function(korvan_test_refused name variable value)
  # The sentence is broken where its words do not fit on a line.
  korvan_test_identifier(${name} ${variable} "${value}"
    "PASS_REGULAR_EXPRESSION;${variable} is[ \n]+\".*It[ \n]+must[ \n]+be")
endfunction()

set(team KORVAN_HOST_TEAM_IDENTIFIER)
korvan_test_identifier(TeamOfTenIsAccepted ${team} "ABCDE12345" "FAIL_REGULAR_EXPRESSION;Error")
korvan_test_refused(EmptyTeamIsRefused ${team} "")
korvan_test_refused(ShortTeamIsRefused ${team} "ABCDE1234")
korvan_test_refused(LongTeamIsRefused ${team} "ABCDE123456")
korvan_test_refused(TeamInLowerCaseIsRefused ${team} "abcde12345")
korvan_test_refused(TeamWithAQuoteIsRefused ${team} "ABCDE1234\\\"")
korvan_test_refused(TeamWithASpaceIsRefused ${team} "ABCDE 1234")

set(bundle KORVAN_HOST_BUNDLE_IDENTIFIER)
korvan_test_identifier(ReverseDNSIsAccepted ${bundle} "com.example-1.Host" "FAIL_REGULAR_EXPRESSION;Error")
string(REPEAT "x" 151 label)
korvan_test_identifier(BundleOf155IsAccepted ${bundle} "com.${label}" "FAIL_REGULAR_EXPRESSION;Error")
korvan_test_refused(BundleOf156IsRefused ${bundle} "com.x${label}")
korvan_test_refused(EmptyBundleIsRefused ${bundle} "")
korvan_test_refused(BundleOfOneLabelIsRefused ${bundle} "host")
korvan_test_refused(BundleWithAnEmptyLabelIsRefused ${bundle} "com..host")
korvan_test_refused(BundleWithATrailingDotIsRefused ${bundle} "com.host.")
korvan_test_refused(BundleWithAQuoteIsRefused ${bundle} "com.host\\\" or anchor apple")
korvan_test_refused(BundleWithAnUnderscoreIsRefused ${bundle} "com.my_host")
