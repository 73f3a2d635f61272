#include <shared/places/CPhonebookSetCollection.h>

CPhonebookSetCollection::~CPhonebookSetCollection() = default;
