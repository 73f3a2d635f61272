#pragma once

// Code written against MFC finds the Windows base types beside the framework classes; they live
// in the platform layer because the platform seams need them too.
#include <shared/platform/WinTypes.h>
