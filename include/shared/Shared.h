#pragma once

// The umbrella header: every public header of the library.

#include <shared/platform/Export.h>
#include <shared/platform/LibraryVersion.h>

// framework
#include <shared/framework/CList.h>
#include <shared/framework/CObject.h>
#include <shared/framework/CRuntimeClass.h>
#include <shared/framework/CString.h>
#include <shared/framework/CStringArray.h>
#include <shared/framework/CStringList.h>
#include <shared/framework/WinTypes.h>

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
