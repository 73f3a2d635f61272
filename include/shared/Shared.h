#pragma once

// The umbrella header: every public header of the library.

#include <shared/platform/Export.h>
#include <shared/platform/LibraryVersion.h>

// framework

// platform

// archive

// foundation
#include <shared/foundation/CStringManipulator.h>
#include <shared/foundation/CTokenArray.h>
#include <shared/foundation/HashKey.h>

// time

// positioning

// comms
#include <shared/comms/CZModem.h>

// places
#include <shared/places/IWardenCollection.h>
#include <shared/places/IWardenCollectionItem.h>

// phonebook
