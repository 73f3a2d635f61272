#pragma once

#include <shared/places/CSetCollection.h>

// Sets of phonebook-entry ids. Its file names the class "CSetCollection", like every set
// collection, so files move freely between the kinds.
class SHARED_API CPhonebookSetCollection : public CSetCollection
{
public:
    CPhonebookSetCollection() = default;
    CPhonebookSetCollection(const CPhonebookSetCollection&) = default;
    CPhonebookSetCollection& operator=(const CPhonebookSetCollection&) = default;
    ~CPhonebookSetCollection() override;
};
