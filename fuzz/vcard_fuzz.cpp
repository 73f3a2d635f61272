// Reads arbitrary bytes as a vCard file into a phonebook: it must end, without a crash, for any
// input (binary data, cards without an end, endless lines).
#include <cstdint>
#include <cstdio>
#include <shared/phonebook/CMasterPhonebook.h>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::string path = "/tmp/vcard-fuzz-" + std::to_string(getpid()) + ".vcf";
    FILE* out = std::fopen(path.c_str(), "wb");
    if (!out)
        return 0;
    std::fwrite(data, 1, size, out);
    std::fclose(out);

    CStdioFile file;
    if (!file.Open(path.c_str(), CFile::modeRead | CFile::typeText))
        return 0;
    CMasterPhonebook book;
    book.ReadFromVCards(file);
    book.GotoStart();
    CPhonebookEntry* entry = nullptr;
    while (book.GetNext(entry))
        (void)entry->GetNumUploadBytes();
    return 0;
}
