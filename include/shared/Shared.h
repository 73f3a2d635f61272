#pragma once

// The umbrella header: every public header of the library.

#include <shared/platform/Export.h>
#include <shared/platform/LibraryVersion.h>

// framework

// platform

// archive

// foundation

// time

// positioning

// comms

// places

// phonebook
