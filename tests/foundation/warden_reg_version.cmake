# warden reg and version end to end: what one run writes to a scratch store the next run reads,
# failures are one line with exit 1 (64 for a wrong command line), and version resources print
# from real PE images.
#   cmake -DWARDEN=<exe> -DSTORE=<scratch folder> [-DFIXTURES=<PE fixture folder>] -P this
file(REMOVE_RECURSE ${STORE})

# Runs warden with ARGN; the exit status must be `status`, the output must match `pattern` and,
# on failure, standard error must be one line.
function(expect status pattern)
    execute_process(COMMAND ${WARDEN} ${ARGN} OUTPUT_VARIABLE out ERROR_VARIABLE err
                    RESULT_VARIABLE got)
    string(REGEX MATCHALL "\n" breaks "${err}")
    list(LENGTH breaks lines)
    if(NOT got EQUAL status OR NOT "${out}${err}" MATCHES "${pattern}"
       OR (NOT status EQUAL 0 AND NOT lines EQUAL 1))
        message(FATAL_ERROR "warden ${ARGN}: exit ${got}, expected ${status} and '${pattern}':\n"
                            "${out}${err}")
    endif()
endfunction()

set(key "HKCU\\Software\\Acme")
set(reg reg --root ${STORE})
expect(0 "^$" ${reg} set ${key} Port 3 --dword)
expect(0 "^$" ${reg} set ${key} Port 0x10 --dword)
expect(0 "^$" ${reg} set ${key} @ "two words")
expect(0 "^$" ${reg} set "HKEY_CURRENT_USER\\Software\\Acme\\Sub" Blob 0a:1b:ff --binary)
expect(0 "^REG_DWORD 16\n$" ${reg} get ${key} Port --type)
expect(0 "^0a1bff\n$" ${reg} get "${key}\\Sub" Blob)
expect(0 "^Sub.\nPort\tREG_DWORD\t16\n@\tREG_SZ\ttwo words\n$" ${reg} list ${key})
expect(0 "\"subkeys\": \\[\n +\"Sub\"\n +\\],.*\"value\": \"two words\"" ${reg} list ${key} --json)
expect(0 "^$" ${reg} set ${key} Port -1 --dword)
expect(0 "^4294967295\n$" ${reg} get ${key} Port)
expect(0 "^$" ${reg} delete ${key} Port)
expect(1 "no value \"Port\"" ${reg} get ${key} Port)
expect(1 "no value \"Port\"" ${reg} delete ${key} Port)
expect(1 "no key HKCU.Nope" ${reg} get "HKCU\\Nope" X)
expect(1 "not a number: \"x\"" ${reg} set ${key} Port x --dword)
expect(1 "out of the 32-bit range" ${reg} set ${key} Port 4294967296 --dword)
expect(1 "unknown root key \"NOPE\"" ${reg} set "NOPE\\x" a b)
expect(64 "" ${reg} set ${key} Port 3 --dword --binary)

if(FIXTURES)
    expect(0 "FileVersion: +1\\.2\\.3\\.4\n.*LegalCopyright: +Copyright © 2024 Acme\n.*FileDescription: +Positionsmeldungen entschlüsseln\nFixed file version: +1,2,3,4\n"
           version ${FIXTURES}/full64.dll)
    expect(0 "\"translations\": \\[\n +\"080904e4\"\n.*\"file_version\": \"2,1,0,0\""
           version --json ${FIXTURES}/release32.exe)
    expect(0 "ProductName: +Untranslated\n\\(no translation table"
           version ${FIXTURES}/notranslation32.dll)
    expect(1 "no version resource" version ${FIXTURES}/plain64.exe)
    expect(1 "cannot open" version ${STORE}/missing.dll)
endif()
