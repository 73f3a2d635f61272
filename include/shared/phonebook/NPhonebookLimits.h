#pragma once

#include <shared/framework/CString.h>
#include <shared/platform/Export.h>
#include <vector>

// The device limits a contact breaks, in words a user can act on, for the places that show why
// a contact cannot be uploaded (an import report, a command-line check):
//
//     for (const CString& problem : NPhonebookLimits::Describe(nick, number)) report(problem);
//
// The checks are CPhonebookEntry's, with its current limits; an empty answer means the contact
// fits a device.
namespace NPhonebookLimits
{
SHARED_API std::vector<CString> Describe(const CString& nick, const CString& number);
}
