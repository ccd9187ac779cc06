// Items into a dictionary and back: the whole of a message's format.
#pragma once

#include "xpc/data.h"

#include <xpc/xpc.h>

// A message has no header, name or number: it is a dictionary whose entries are declared keys. The functions keep no
// state and run on any thread; the key lists are read without a lock: meanwhile keys may be added, but not removed (see
// LList).

// Writes each item whose name is declared (byte for byte), with the write call of the first such key's type; the other
// items are skipped. Of two items of one name the later one stays. An item that points to nothing (null, or the -1 of a
// fresh item) writes nothing; data of size 0 is written as empty whatever it points to, and data of more bytes than any
// buffer has (a negative size, widened) is not written, nor is an item that there is no memory for.
void SetXPCDictionary(xpc_object_t pDictionary, LList<LXPCDictionaryKeyListable>& lKeys,
                      LList<LXPCDataListable> const& lItems) noexcept;
// The array form writes the items last to first, so that of two items of one name the earlier one stays.
void SetXPCDictionary(xpc_object_t pDictionary, LList<LXPCDictionaryKeyListable>& lKeys, LXPCData const* arItems,
                      unsigned long nCount) noexcept;

// Adds an item for each declared key that the dictionary has an entry for, in the order in which the keys were
// declared. Undeclared entries are ignored; an entry of another type than its key's reads as that type's nothing (see
// LXPCData). The caller passes an empty list and owns the items, and the descriptors in them. When memory runs out,
// what has been read so far is in the list.
void GetXPCDictionary(xpc_object_t pDictionary, LList<LXPCDictionaryKeyListable>& lKeys,
                      LList<LXPCDataListable>& lItems) noexcept;
