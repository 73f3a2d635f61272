#pragma once

#include <shared/framework/CString.h>
#include <shared/framework/CStringArray.h>
#include <shared/platform/Export.h>

// Splitting strings at delimiter characters and sorting their characters into valid and invalid
// ones (telephone numbers are checked and cleaned with it). Every useful member is static; the
// class has no data and is never instantiated by the library.
class SHARED_API CStringManipulator
{
public:
    // What happens to the delimiter found by SplitOnDelimiter. Only the values 0 and 1 are
    // special: any other value keeps the delimiter at the start of the tail.
    enum E_IncludeMode
    {
        eDropDelimiter = 0,
        eDelimiterToHead = 1,
        eDelimiterToTail = 2
    };

    CStringManipulator() = default;
    CStringManipulator(CStringManipulator const&) = default;
    CStringManipulator& operator=(CStringManipulator const&) = default;
    virtual ~CStringManipulator();

    // Splits source before its first character that is one of delimiters. Returns the index of
    // that delimiter within delimiters, or -1 (head = source, tail empty) when there is none.
    // tail may be the same object as source; head may not.
    static int SplitOnDelimiter(CString const& source, CString const& delimiters, CString& head,
                                CString& tail, E_IncludeMode mode);

    // Appends the pieces of source between delimiters to pieces (which is not cleared) and
    // returns how many were appended: at least one, and none after a delimiter that ends the text.
    static int SplitToArrayOnDelimiter(CString const& source, CString const& delimiters,
                                       CStringArray& pieces);

    // Returns the index of the first character of text that is not in valid, or -1;
    // invalidCount receives the number of such characters.
    static int CheckValidCharacters(CString const& text, CString const& valid, int& invalidCount);

    // Sorts the characters of text into those found in valid and the others, each keeping its
    // order, and returns the same index as CheckValidCharacters.
    static int StripOnValid(CString const& text, CString const& valid, CString& validPart,
                            CString& invalidPart);
};
