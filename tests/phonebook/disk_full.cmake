# Every writing subcommand of warden on a full file system: one "warden: " line on standard
# error, a non-zero exit, and no temporary file left behind. Needs permission to mount a small
# tmpfs (root, or a user namespace); prints SKIPPED otherwise.
#   cmake -DWARDEN=<exe> -DWORK=<scratch dir> -P disk_full.cmake
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/full)
execute_process(COMMAND mount -t tmpfs -o size=64k tmpfs ${WORK}/full RESULT_VARIABLE mounted
                OUTPUT_QUIET ERROR_QUIET)
if(NOT mounted EQUAL 0)
    message("SKIPPED: cannot mount a tmpfs here")
    return()
endif()

set(card "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Person\r\nNICKNAME:Nick\r\nTEL;CELL:+44 7700 900123\r\nEND:VCARD\r\n")
string(REPEAT "${card}" 1000 book)
file(WRITE ${WORK}/book.vcf "${book}")

set(failures)
# name|arguments separated by ';'
set(commands
    "phonebook import;phonebook|import|${WORK}/book.vcf|${WORK}/full/book.vcf"
    "phonebook export;phonebook|export|${WORK}/book.vcf|${WORK}/full/device.vcf"
    "reg set;reg|--root|${WORK}/full/registry|set|HKCU\\Software\\Acme|Port|3|--dword")
# Fill the file system so that even small files cannot be written.
execute_process(COMMAND dd if=/dev/zero of=${WORK}/full/filler bs=1k count=64
                OUTPUT_QUIET ERROR_QUIET)
foreach(entry IN LISTS commands)
    string(REPLACE "|" ";" args "${entry}")
    list(POP_FRONT args name)
    execute_process(COMMAND ${WARDEN} ${args} RESULT_VARIABLE status OUTPUT_QUIET
                    ERROR_VARIABLE err)
    file(GLOB_RECURSE left LIST_DIRECTORIES false RELATIVE ${WORK}/full ${WORK}/full/*)
    list(REMOVE_ITEM left filler)
    if(status EQUAL 0 OR NOT err MATCHES "^warden: [^\n]+\n$" OR left)
        list(APPEND failures "${name}: exit ${status}, stderr '${err}', left behind '${left}'")
    endif()
    file(REMOVE_RECURSE ${WORK}/full/registry)
endforeach()
execute_process(COMMAND umount ${WORK}/full)
if(failures)
    string(JOIN "\n" text ${failures})
    message(FATAL_ERROR "${text}")
endif()
