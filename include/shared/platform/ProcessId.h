#pragma once

// Process identities, for files that record their writer (temporary files of a save) and must
// tell whether that writer is still alive.

#include <shared/platform/Export.h>

namespace shared::platform
{

SHARED_API unsigned long CurrentProcessId();

// False only when no process with the id exists; a process that exists but belongs to someone
// else counts as running.
SHARED_API bool IsProcessRunning(unsigned long processId);

} // namespace shared::platform
