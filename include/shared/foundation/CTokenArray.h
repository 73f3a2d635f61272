#pragma once

#include <shared/framework/CStringArray.h>
#include <shared/platform/Export.h>
#include <string_view>

// A string array that fills itself by splitting a text at separator characters. Double-quoted
// sections, escapes inside them, empty fields and trimming are chosen by mode bits. The device
// sentence decoder reads every sentence through it with separator "," and all five bits set.
//
// Tokens are stored in the array's existing elements where it already has them, so an array that
// is used again and again (a decoder's scratch array) neither frees nor allocates once it has
// grown to the usual field count; short tokens fit the string's inline buffer.
class SHARED_API CTokenArray : public CStringArray
{
public:
    enum E_TokenizeMode
    {
        TM_QUOTES = 1,       // a double quote toggles a section in which separators are plain text
        TM_KEEP_QUOTES = 2,  // with TM_QUOTES, the quote characters stay in the token
        TM_KEEP_EMPTY = 4,   // empty tokens are kept, one after a final separator too
        TM_KEEP_ESCAPES = 8, // inside quotes, the backslash of \" and \\ is kept
        TM_TRIM = 16         // white space is trimmed from both ends of each token
    };

    CTokenArray();
    CTokenArray(char const* text, char const* separators, E_TokenizeMode mode);
    ~CTokenArray() override;

    // Empties the array, fills it with the tokens of the zero-terminated text and returns their
    // number. A null text gives 0.
    int TokenizeString(char const* text, char const* separators, E_TokenizeMode mode);

    // The same for a text given by its extent; the text ends at the end of the view or at its
    // first zero character, whichever comes first. Lets a caller tokenize part of a buffer (a
    // sentence body between its frame characters) without copying it.
    int TokenizeString(std::string_view text, char const* separators, E_TokenizeMode mode);

    // The tokens TokenizeString would store, as views into text, without storing them: nothing
    // is allocated or copied. Only for modes that keep quotes and escapes (with TM_QUOTES), where
    // every token is a run of the text. Returns the number of tokens, or -1 when the mode does
    // not allow views or the text has more than capacity tokens.
    static int SplitInPlace(std::string_view text, char const* separators, E_TokenizeMode mode,
                            std::string_view* tokens, int capacity);
};

// Combining mode bits keeps the enumeration type, so callers need no casts.
constexpr CTokenArray::E_TokenizeMode operator|(CTokenArray::E_TokenizeMode a,
                                                CTokenArray::E_TokenizeMode b)
{
    return static_cast<CTokenArray::E_TokenizeMode>(static_cast<int>(a) | static_cast<int>(b));
}
