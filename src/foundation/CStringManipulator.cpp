#include <shared/foundation/CStringManipulator.h>
#include <string_view>

namespace
{
std::string_view View(CString const& s)
{
    return std::string_view(s.GetString(), static_cast<std::size_t>(s.GetLength()));
}

CString Make(std::string_view s)
{
    return CString(s.data(), static_cast<int>(s.size()));
}
} // namespace

CStringManipulator::~CStringManipulator() = default;

int CStringManipulator::SplitOnDelimiter(CString const& source, CString const& delimiters,
                                         CString& head, CString& tail, E_IncludeMode mode)
{
    std::string_view const text = View(source);
    std::string_view const delims = View(delimiters);
    std::size_t const at = text.find_first_of(delims);
    if (at == std::string_view::npos)
    {
        // Assign tail last: it may be source itself.
        CString whole = source;
        head = whole;
        tail.Empty();
        return -1;
    }
    char const delimiter = text[at];
    CString newHead;
    CString newTail;
    switch (mode)
    {
    case eDropDelimiter:
        newHead = Make(text.substr(0, at));
        newTail = Make(text.substr(at + 1));
        break;
    case eDelimiterToHead:
        newHead = Make(text.substr(0, at + 1));
        newTail = Make(text.substr(at + 1));
        break;
    default:
        newHead = Make(text.substr(0, at));
        newTail = Make(text.substr(at));
        break;
    }
    head = newHead;
    tail = newTail;
    return static_cast<int>(delims.find(delimiter));
}

int CStringManipulator::SplitToArrayOnDelimiter(CString const& source, CString const& delimiters,
                                                CStringArray& pieces)
{
    CString work = source;
    CString head;
    int count = 0;
    do
    {
        SplitOnDelimiter(work, delimiters, head, work, eDropDelimiter);
        pieces.Add(head);
        ++count;
    } while (!work.IsEmpty());
    return count;
}

int CStringManipulator::CheckValidCharacters(CString const& text, CString const& valid,
                                             int& invalidCount)
{
    std::string_view const allowed = View(valid);
    std::string_view const chars = View(text);
    int first = -1;
    invalidCount = 0;
    for (std::size_t i = 0; i < chars.size(); ++i)
    {
        if (allowed.find(chars[i]) == std::string_view::npos)
        {
            if (first < 0)
                first = static_cast<int>(i);
            ++invalidCount;
        }
    }
    return first;
}

int CStringManipulator::StripOnValid(CString const& text, CString const& valid, CString& validPart,
                                     CString& invalidPart)
{
    // Copy first: an output may be the same object as an input.
    CString const source = text;
    CString const validCopy = valid;
    std::string_view const allowed = View(validCopy);
    std::string_view const chars = View(source);
    validPart.Empty();
    invalidPart.Empty();
    int first = -1;
    for (std::size_t i = 0; i < chars.size(); ++i)
    {
        if (allowed.find(chars[i]) != std::string_view::npos)
        {
            validPart += chars[i];
        }
        else
        {
            if (first < 0)
                first = static_cast<int>(i);
            invalidPart += chars[i];
        }
    }
    return first;
}
