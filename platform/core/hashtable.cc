// hashtable.cc --
//
//    Hash table from keys to pointers, walked in insertion order.

#include <trplatform/hashtable.h>

#include <cstring>
#include <iterator>
#include <list>
#include <string>
#include <unordered_map>

struct HashTable {
   struct Entry {
      std::string keyCopy;   // the table's own copy of a text key (HASH_FLAG_COPYKEY)
      const void *key;       // the key as handed to callbacks
      void *value;
   };

   int keyType;
   bool copyKey;
   HashTableFreeEntryFn freeFn;
   std::list<Entry> entries;  // insertion order
   std::unordered_map<std::string, std::list<Entry>::iterator> index;

   // The key as the index compares it: text as given or in lower case, or
   // the bytes of the pointer value for integer keys.
   std::string IndexKey(const void *key) const {
      if (keyType == HASH_INT_KEY) {
         uintptr_t v = reinterpret_cast<uintptr_t>(key);
         return std::string(reinterpret_cast<const char *>(&v), sizeof v);
      }
      std::string s(static_cast<const char *>(key));
      if (keyType == HASH_ISTRING_KEY) {
         for (char &c : s) {
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
         }
      }
      return s;
   }

   void Destroy(void *value) const {
      if (freeFn != nullptr) {
         freeFn(value);
      }
   }
};

extern "C" {

TRPLATFORM_API HashTable *HashTable_Alloc(uint32_t numBuckets, int keyType,
                                          HashTableFreeEntryFn freeFn) noexcept {
   auto *ht = new HashTable;
   ht->keyType = keyType & 0x0F;
   ht->copyKey = (keyType & HASH_FLAG_COPYKEY) != 0 && ht->keyType != HASH_INT_KEY;
   ht->freeFn = freeFn;
   ht->index.reserve(numBuckets);
   return ht;
}

TRPLATFORM_API void HashTable_Free(HashTable *ht) noexcept {
   if (ht == nullptr) {
      return;
   }
   for (HashTable::Entry &e : ht->entries) {
      ht->Destroy(e.value);
   }
   delete ht;
}

TRPLATFORM_API Bool HashTable_Insert(HashTable *ht, const void *key, void *value) noexcept {
   std::string k = ht->IndexKey(key);
   if (ht->index.count(k) != 0) {
      return FALSE;
   }
   ht->entries.push_back(HashTable::Entry{std::string(), key, value});
   auto it = std::prev(ht->entries.end());
   if (ht->copyKey) {
      it->keyCopy = static_cast<const char *>(key);
      it->key = it->keyCopy.c_str();
   }
   ht->index.emplace(std::move(k), it);
   return TRUE;
}

TRPLATFORM_API Bool HashTable_Lookup(const HashTable *ht, const void *key, void **value) noexcept {
   auto it = ht->index.find(ht->IndexKey(key));
   if (it == ht->index.end()) {
      return FALSE;
   }
   if (value != nullptr) {
      *value = it->second->value;
   }
   return TRUE;
}

TRPLATFORM_API Bool HashTable_LookupAndDelete(HashTable *ht, const void *key,
                                              void **value) noexcept {
   auto it = ht->index.find(ht->IndexKey(key));
   if (it == ht->index.end()) {
      return FALSE;
   }
   if (value != nullptr) {
      *value = it->second->value;
   }
   ht->entries.erase(it->second);
   ht->index.erase(it);
   return TRUE;
}

TRPLATFORM_API Bool HashTable_Delete(HashTable *ht, const void *key) noexcept {
   void *value = nullptr;
   if (!HashTable_LookupAndDelete(ht, key, &value)) {
      return FALSE;
   }
   ht->Destroy(value);
   return TRUE;
}

TRPLATFORM_API int HashTable_ForEach(const HashTable *ht, HashTableForEachCallback cb,
                                     void *clientData) noexcept {
   for (const HashTable::Entry &e : ht->entries) {
      int rc = cb(static_cast<const char *>(e.key), e.value, clientData);
      if (rc != 0) {
         return rc;
      }
   }
   return 0;
}

TRPLATFORM_API uint32_t HashTable_GetNumElements(const HashTable *ht) noexcept {
   return static_cast<uint32_t>(ht->entries.size());
}

}  // extern "C"
