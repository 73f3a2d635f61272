// Reads arbitrary bytes as a set-collection file: the read must fail cleanly or succeed, never
// crash, hang or leak, and a failed read must leave the collection as it was.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <shared/places/CSetCollection.h>
#include <string>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::string path = "/tmp/set-collection-fuzz-" + std::to_string(getpid());
    FILE* out = std::fopen(path.c_str(), "wb");
    if (!out)
        return 0;
    std::fwrite(data, 1, size, out);
    std::fclose(out);

    CSetCollection collection;
    CSet keep;
    keep.SetSetId(Cint64(0, 1));
    collection.AddSet(keep);
    if (!collection.ReadCollection(path.c_str()) &&
        (collection.GetNumberInCollection() != 1 || collection.GetSet(Cint64(0, 1)) == nullptr))
        std::abort();
    collection.GotoStart();
    while (CSet* set = collection.GetNext())
        (void)set->GetNumberOfItems();
    return 0;
}
