#pragma once

#include <shared/places/CSetCollection.h>

// Sets of user-place ids (geofences). Its file names the class "CSetCollection", like every set
// collection, so files move freely between the kinds.
class SHARED_API CGeofenceSetCollection : public CSetCollection
{
public:
    CGeofenceSetCollection() = default;
    CGeofenceSetCollection(const CGeofenceSetCollection&) = default;
    CGeofenceSetCollection& operator=(const CGeofenceSetCollection&) = default;
    ~CGeofenceSetCollection() override;
};
