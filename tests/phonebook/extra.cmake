# Command-line regression tests of warden phonebook: the limit check in words, and the error path.
if(NOT TARGET warden)
    return()
endif()
set(phonebook_cli_compare ${PROJECT_SOURCE_DIR}/tests/positioning/compare_output.cmake)
set(phonebook_cli_data ${CMAKE_CURRENT_LIST_DIR}/data)

add_test(NAME phonebook.warden.check_limits
         COMMAND ${CMAKE_COMMAND} -DWARDEN=$<TARGET_FILE:warden>
                 "-DARGS=phonebook|check|ThisNicknameIsTooLong|+44 (0)77+00" -DEXIT=1
                 -DEXPECTED=${phonebook_cli_data}/check_limits.expected
                 -P ${phonebook_cli_compare})
add_test(NAME phonebook.warden.check_fits
         COMMAND ${CMAKE_COMMAND} -DWARDEN=$<TARGET_FILE:warden>
                 "-DARGS=phonebook|check|Ann|+44 7700 900123"
                 -DEXPECTED=${phonebook_cli_data}/check_fits.expected
                 -P ${phonebook_cli_compare})
add_test(NAME phonebook.warden.missing_book
         COMMAND ${CMAKE_COMMAND} -DWARDEN=$<TARGET_FILE:warden>
                 "-DARGS=phonebook|list|/nonexistent/book.vcf" -DEXIT=1
                 "-DSTDERR_MATCH=^warden: cannot read /nonexistent/book.vcf\n$"
                 -P ${phonebook_cli_compare})
set_tests_properties(phonebook.warden.check_limits phonebook.warden.check_fits
                     phonebook.warden.missing_book PROPERTIES LABELS "phonebook;cli")

add_test(NAME phonebook.warden.disk_full
         COMMAND ${CMAKE_COMMAND} -DWARDEN=$<TARGET_FILE:warden>
                 -DWORK=${CMAKE_CURRENT_BINARY_DIR}/disk_full -P ${CMAKE_CURRENT_LIST_DIR}/disk_full.cmake)
set_tests_properties(phonebook.warden.disk_full PROPERTIES LABELS "phonebook;cli"
                     SKIP_REGULAR_EXPRESSION "SKIPPED")
