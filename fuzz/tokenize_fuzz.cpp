// The tokenizer over any text, separators and mode: the count matches the array, and without
// quote handling the tokens put back together with their separators give the text again; the
// view-only split agrees with the array.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <shared/foundation/CTokenArray.h>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size < 2)
        return 0;
    auto const mode = static_cast<CTokenArray::E_TokenizeMode>(data[0] & 31);
    // The second byte chooses up to three separators from the text's own bytes or ",".
    std::string separators = ",";
    for (int i = 0; i < (data[1] & 3) && 2 + i < static_cast<int>(size); ++i)
        if (data[2 + i] != 0)
            separators += static_cast<char>(data[2 + i]);
    std::string const text(reinterpret_cast<char const*>(data + 2), size - 2);

    CTokenArray tokens;
    int const count = tokens.TokenizeString(text.c_str(), separators.c_str(), mode);
    if (count != tokens.GetSize())
        std::abort();

    std::size_t const length = std::strlen(text.c_str());
    if (mode == CTokenArray::TM_KEEP_EMPTY && length > 0)
    {
        // Plain splitting keeps every character: tokens plus one separator between each.
        std::size_t total = 0;
        for (INT_PTR i = 0; i < tokens.GetSize(); ++i)
            total += static_cast<std::size_t>(tokens.GetAt(i).GetLength());
        if (total + static_cast<std::size_t>(count - 1) != length)
            std::abort();
    }

    // Tokenizing again into the same array gives the same tokens.
    CTokenArray again;
    again.TokenizeString(text.c_str(), separators.c_str(), mode);
    again.TokenizeString(text.c_str(), separators.c_str(), mode);
    if (again.GetSize() != tokens.GetSize())
        std::abort();
    for (INT_PTR i = 0; i < tokens.GetSize(); ++i)
        if (again.GetAt(i) != tokens.GetAt(i))
            std::abort();

    // Where the mode allows views, the in-place split finds the very same tokens.
    std::string_view views[64];
    int const viewCount = CTokenArray::SplitInPlace(text, separators.c_str(), mode, views, 64);
    if (viewCount >= 0)
    {
        if (viewCount != count)
            std::abort();
        for (int i = 0; i < count; ++i)
            if (views[i] != tokens.GetAt(i).GetString())
                std::abort();
    }
    return 0;
}
