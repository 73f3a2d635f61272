#include <shared/places/CGeofenceSetCollection.h>

CGeofenceSetCollection::~CGeofenceSetCollection() = default;
