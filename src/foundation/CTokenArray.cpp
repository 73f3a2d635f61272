#include <cstdint>
#include <cstring>
#include <shared/foundation/CTokenArray.h>
#include <string>

namespace
{
// The white space that the framework string's Trim removes (isspace in the "C" locale); spelled
// out so that bytes above 0x7F never reach a locale-dependent classifier.
bool IsTrimSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// A set of byte values. The original runtime's multibyte-aware search (_mbschr) behaves as a
// plain character search for the single-byte separators used with this class; a set gives the
// same answers without a library call per character. Sets of one or two characters (a comma, a
// comma and a quote: the sentence decoder's case) are compared directly, which is what makes
// scanning a sentence cheap.
class CharacterSet
{
public:
    explicit CharacterSet(char const* characters)
    {
        if (characters != nullptr)
            for (char const* p = characters; *p != '\0'; ++p)
                Add(*p);
    }
    void Add(char c)
    {
        if (Contains(c))
            return;
        if (m_count < 2)
        {
            m_few[m_count++] = c;
            return;
        }
        // The table is filled only for larger sets: clearing it costs more than scanning a
        // sentence with one or two characters.
        if (m_count == 2)
        {
            std::memset(m_table, 0, sizeof m_table);
            m_table[static_cast<unsigned char>(m_few[0])] = true;
            m_table[static_cast<unsigned char>(m_few[1])] = true;
        }
        ++m_count;
        m_table[static_cast<unsigned char>(c)] = true;
    }
    bool Contains(char c) const
    {
        if (m_count > 2)
            return m_table[static_cast<unsigned char>(c)];
        return (m_count > 0 && c == m_few[0]) || (m_count > 1 && c == m_few[1]);
    }
    // The first character from pos on that is in the set, or end.
    char const* FindFirst(char const* pos, char const* end) const
    {
        if (m_count == 1)
        {
            char const a = m_few[0];
            while (pos != end && *pos != a)
                ++pos;
        }
        else if (m_count == 2)
        {
            char const a = m_few[0];
            char const b = m_few[1];
            while (pos != end && *pos != a && *pos != b)
                ++pos;
        }
        else
        {
            while (pos != end && !Contains(*pos))
                ++pos;
        }
        return pos;
    }

private:
    bool m_table[256];
    char m_few[2] = {};
    int m_count = 0;
};
// Where the plain scan of a token must stop: at a separator, or at a quote that opens a
// section.
CharacterSet TokenStops(char const* separators, bool quotes)
{
    CharacterSet stops(separators);
    if (quotes)
        stops.Add('"');
    return stops;
}

// Narrows [first, last) to leave out the spaces TM_TRIM removes.
void TrimSpaces(char const*& first, char const*& last)
{
    while (first != last && IsTrimSpace(*first))
        ++first;
    while (last != first && IsTrimSpace(last[-1]))
        --last;
}

} // namespace

CTokenArray::CTokenArray() = default;

CTokenArray::CTokenArray(char const* text, char const* separators, E_TokenizeMode mode)
{
    TokenizeString(text, separators, mode);
}

CTokenArray::~CTokenArray() = default;

int CTokenArray::TokenizeString(char const* text, char const* separators, E_TokenizeMode mode)
{
    if (text == nullptr)
    {
        RemoveAll();
        return 0;
    }
    return TokenizeString(std::string_view(text, std::strlen(text)), separators, mode);
}

int CTokenArray::TokenizeString(std::string_view text, char const* separators, E_TokenizeMode mode)
{
    // Everything from the first zero on is not part of the text, as for a C string.
    if (auto zero = text.find('\0'); zero != std::string_view::npos)
        text = text.substr(0, zero);

    bool const quotes = (mode & TM_QUOTES) != 0;
    bool const keepQuotes = (mode & TM_KEEP_QUOTES) != 0;
    bool const keepEmpty = (mode & TM_KEEP_EMPTY) != 0;
    bool const keepEscapes = (mode & TM_KEEP_ESCAPES) != 0;
    bool const trim = (mode & TM_TRIM) != 0;

    CharacterSet const isSeparator(separators);
    CharacterSet const stops = TokenStops(separators, quotes);
    char const* pos = text.data();
    char const* const end = pos + text.size();
    INT_PTR count = 0;

    // Stores a token in the next element, reusing the elements the array already has.
    auto store = [&](char const* first, char const* last)
    {
        if (trim)
            TrimSpaces(first, last);
        int const length = static_cast<int>(last - first);
        if (count < GetSize())
            ElementAt(count).SetString(first, length);
        else
            Add(CString(first, length));
        ++count;
    };

    // Most tokens are a plain run of the text; only a dropped quote or escape backslash makes the
    // token differ from its run, and only then is it assembled in this buffer.
    std::string edited;
    while (pos != end)
    {
        char const* const start = pos;
        char const* stop = nullptr;
        bool quoted = false;
        bool direct = true;
        auto append = [&](char c)
        {
            if (!direct)
                edited.push_back(c);
        };
        auto startEditing = [&]
        {
            if (direct)
            {
                edited.assign(start, pos);
                direct = false;
            }
        };

        // Most tokens hold no quote: run to the separator or the end in one tight loop, and
        // continue character by character only from a quote on.
        pos = stops.FindFirst(pos, end);
        bool const plain = pos == end || isSeparator.Contains(*pos);
        if (plain)
        {
            stop = pos;
            if (pos != end)
                ++pos;
        }
        while (!plain)
        {
            if (pos == end)
            {
                stop = pos;
                break;
            }
            char const c = *pos;
            if (!quoted && isSeparator.Contains(c))
            {
                stop = pos;
                ++pos;
                break;
            }
            if (quotes && c == '"')
            {
                if (keepQuotes)
                    append(c);
                else
                    startEditing();
                quoted = !quoted;
                ++pos;
            }
            else if (quoted && c == '\\' && pos + 1 != end && (pos[1] == '"' || pos[1] == '\\'))
            {
                if (keepEscapes)
                    append(c);
                else
                    startEditing();
                ++pos;
                append(*pos);
                ++pos;
            }
            else
            {
                append(c);
                ++pos;
            }
        }

        bool const empty = direct ? stop == start : edited.empty();
        // The emptiness test comes before trimming, so a token of blanks is stored (as an empty
        // string) even without TM_KEEP_EMPTY; callers rely on blank fields keeping their place.
        if (!empty || keepEmpty)
        {
            if (direct)
                store(start, stop);
            else
                store(edited.data(), edited.data() + edited.size());
        }
        // Only the last character of the text is examined, so a final separator adds the empty
        // last field even when it stands inside an unterminated quote.
        if (pos == end && keepEmpty && isSeparator.Contains(end[-1]))
            store(end, end);
    }

    if (count == 0)
        RemoveAll();
    else if (count < GetSize())
        SetSize(count);
    return static_cast<int>(count);
}

int CTokenArray::SplitInPlace(std::string_view text, char const* separators, E_TokenizeMode mode,
                              std::string_view* tokens, int capacity)
{
    bool const quotes = (mode & TM_QUOTES) != 0;
    if (quotes && ((mode & TM_KEEP_QUOTES) == 0 || (mode & TM_KEEP_ESCAPES) == 0))
        return -1;
    if (auto zero = text.find('\0'); zero != std::string_view::npos)
        text = text.substr(0, zero);
    bool const keepEmpty = (mode & TM_KEEP_EMPTY) != 0;
    bool const trim = (mode & TM_TRIM) != 0;

    char const* pos = text.data();
    char const* const end = pos + text.size();
    int count = 0;
    auto store = [&](char const* first, char const* last)
    {
        if (trim)
            TrimSpaces(first, last);
        if (count == capacity)
            return false;
        tokens[count++] = std::string_view(first, static_cast<std::size_t>(last - first));
        return true;
    };
    // One separator and no quote, as in nearly every device sentence: each token is simply the
    // run up to the next separator.
    if (separators != nullptr && separators[0] != '\0' && separators[1] == '\0' &&
        (!quotes || text.find('"') == std::string_view::npos))
    {
        char const separator = separators[0];
        while (pos != end)
        {
            char const* stop = static_cast<char const*>(
                std::memchr(pos, separator, static_cast<std::size_t>(end - pos)));
            char const* const start = pos;
            pos = stop != nullptr ? stop + 1 : end;
            if (stop == nullptr)
                stop = end;
            if ((stop != start || keepEmpty) && !store(start, stop))
                return -1;
            if (pos == end && keepEmpty && end[-1] == separator && !store(end, end))
                return -1;
        }
        return count;
    }

    CharacterSet const isSeparator(separators);
    CharacterSet const stops = TokenStops(separators, quotes);
    // The same walk as TokenizeString's, less the editing these modes never do.
    while (pos != end)
    {
        char const* const start = pos;
        bool quoted = false;
        pos = stops.FindFirst(pos, end);
        while (pos != end && (quoted || !isSeparator.Contains(*pos)))
        {
            if (*pos == '"')
                quoted = !quoted;
            else if (quoted && *pos == '\\' && pos + 1 != end && (pos[1] == '"' || pos[1] == '\\'))
                ++pos;
            ++pos;
        }
        char const* const stop = pos;
        if (pos != end)
            ++pos;
        if ((stop != start || keepEmpty) && !store(start, stop))
            return -1;
        if (pos == end && keepEmpty && isSeparator.Contains(end[-1]) && !store(end, end))
            return -1;
    }
    return count;
}
