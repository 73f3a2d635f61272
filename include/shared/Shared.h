#pragma once

// The umbrella header: every public header of the library.

#include <shared/platform/Export.h>
#include <shared/platform/LibraryVersion.h>

// framework
#include <shared/framework/CException.h>
#include <shared/framework/CFile.h>
#include <shared/framework/CStdioFile.h>
#include <shared/framework/CList.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/COleDateTimeSpan.h>
#include <shared/framework/CObject.h>
#include <shared/framework/CRuntimeClass.h>
#include <shared/framework/CString.h>
#include <shared/framework/CStringArray.h>
#include <shared/framework/CStringList.h>
#include <shared/framework/WinTypes.h>

// platform
#include <shared/platform/AtomicFileReplacement.h>
#include <shared/platform/ChildProcess.h>
#include <shared/platform/Environment.h>
#include <shared/platform/FileSystem.h>
#include <shared/platform/HostHooks.h>
#include <shared/platform/SerialLine.h>
#include <shared/platform/SerialPortPath.h>
#include <shared/platform/StandardStreams.h>
#include <shared/platform/WakeDescriptor.h>
#include <shared/platform/WordWait.h>
#include <shared/platform/RegistryStore.h>
#include <shared/platform/SystemError.h>
#include <shared/platform/SystemTime.h>
#include <shared/platform/TimeZoneRules.h>
#include <shared/platform/UserName.h>
#include <shared/platform/VersionResource.h>
#include <shared/platform/ProcessId.h>
#include <shared/platform/WinTypes.h>

// archive
#include <shared/archive/CArchive.h>

// foundation
#include <shared/foundation/CLog.h>
#include <shared/foundation/CLogLine.h>
#include <shared/foundation/Cint64.h>
#include <shared/foundation/CFileVersion.h>
#include <shared/foundation/CRegistryFuncs.h>
#include <shared/foundation/CStringManipulator.h>
#include <shared/foundation/CTokenArray.h>
#include <shared/foundation/HashKey.h>

// time
#include <shared/time/CAnyChunk.h>
#include <shared/time/CAnyCuteChunk.h>
#include <shared/time/CChunk.h>
#include <shared/time/CClock.h>
#include <shared/time/CCuteChunk.h>
#include <shared/time/CDialogConverter.h>
#include <shared/time/CHazardWatchDog.h>
#include <shared/time/CSimpleWatchDog.h>
#include <shared/time/CWatchChunk.h>
#include <shared/time/CYearWeekPeriod.h>
#include <shared/time/NCivilTime.h>

// positioning
#include <shared/positioning/CCoordTransform.h>
#include <shared/positioning/NGpsToOSGrid.h>
#include <shared/positioning/CLocation.h>
#include <shared/positioning/CNmeaLineAssembler.h>
#include <shared/positioning/CNmeaGPIOP.h>
#include <shared/positioning/CNmeaGPLOG.h>
#include <shared/positioning/CNmeaGPRMC.h>
#include <shared/positioning/CNmeaSentence.h>
#include <shared/positioning/CPosition.h>
#include <shared/positioning/NWardenMetrics.h>

// comms
#include <shared/comms/CBaseSignal.h>
#include <shared/comms/CBaseSlot.h>
#include <shared/comms/CBaseSlot0.h>
#include <shared/comms/CBaseSlot2.h>
#include <shared/comms/CBaseSlot4.h>
#include <shared/comms/CByteFifo.h>
#include <shared/comms/CSigSlotCollection.h>
#include <shared/comms/CSigSlotCollectionItem.h>
#include <shared/comms/CSigSlotInterlock.h>
#include <shared/comms/CSigSlotIterator.h>
#include <shared/comms/CSerialPortDevice.h>
#include <shared/comms/CSerialPortList.h>
#include <shared/comms/CSigSlotMutex.h>
#include <shared/comms/CSignal0.h>
#include <shared/comms/CSignal2.h>
#include <shared/comms/CSignal4.h>
#include <shared/comms/CZModem.h>
#include <shared/comms/CZModemFileStore.h>

// places
#include <shared/places/CGeofenceSetCollection.h>
#include <shared/places/CPhonebookSetCollection.h>
#include <shared/places/CSet.h>
#include <shared/places/CSetCollection.h>
#include <shared/places/CUserPlace.h>
#include <shared/places/CUserPlaceCollection.h>
#include <shared/places/CWardenSetModifier.h>
#include <shared/places/ISetModifier.h>
#include <shared/places/IWardenCollection.h>
#include <shared/places/IWardenCollectionItem.h>

// phonebook
#include <shared/phonebook/CAnyVCProperty.h>
#include <shared/phonebook/CMasterPhonebook.h>
#include <shared/phonebook/CPhonebookEntry.h>
#include <shared/phonebook/CPhonebookEntryAttributes.h>
#include <shared/phonebook/CVCFFormattedName.h>
#include <shared/phonebook/CVCFLocatorAttributes.h>
#include <shared/phonebook/CVCFNickName.h>
#include <shared/phonebook/CVCFTelephoneNumber.h>
#include <shared/phonebook/CVCFUid.h>
#include <shared/phonebook/CVCFVersion.h>
#include <shared/phonebook/CVCFWardenAttributes.h>
#include <shared/phonebook/CVCard.h>
#include <shared/phonebook/NPhonebookLimits.h>
