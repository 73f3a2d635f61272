#pragma once

// The library's strings are Windows code page 1252; terminals, files named on the command line
// and JSON are UTF-8. Every text crossing between the two goes through these helpers.
//
//   std::cout << warden::Utf8(place.GetMapLabelText());            // library -> terminal
//   NWardenMetrics::ParseLatLong(warden::Ansi(argument), ...);      // terminal -> library
//   std::cout << warden::PadRight(warden::Utf8(label), 20);          // columns by display width

#include <shared/framework/CString.h>
#include <string>
#include <string_view>

namespace warden
{

// Code page 1252 to UTF-8 with the real table (0x80-0x9F hold the euro sign, curly quotes,
// dashes ...). The five bytes the code page leaves undefined become U+0081, U+008D, U+008F,
// U+0090 and U+009D, as Windows converts them, so nothing is lost.
std::string Utf8(std::string_view cp1252);
inline std::string Utf8(CString const& text)
{
    return Utf8(text.View());
}

// UTF-8 to code page 1252. Characters the code page lacks become '?'; bytes that are not valid
// UTF-8 are taken as already being code page 1252, so text typed on a 1252 console still works.
CString Ansi(std::string_view utf8);

// Columns a UTF-8 text takes on a terminal (continuation bytes take none; every character the
// library can produce is one column wide).
std::size_t DisplayWidth(std::string_view utf8);
std::string PadRight(std::string utf8, std::size_t width);
std::string PadLeft(std::string utf8, std::size_t width);

} // namespace warden
