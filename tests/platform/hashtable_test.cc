// hashtable_test.cc --
//
//    Caseless keys with copies, insertion order, and who destroys values.

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <trplatform/hashtable.h>

namespace {

int gDestroyed = 0;
void CountingFree(void *value) {
   gDestroyed++;
   std::free(value);
}

int Collect(const char *key, void *value, void *clientData) {
   auto *out = static_cast<std::vector<std::string> *>(clientData);
   out->push_back(std::string(key) + "=" + static_cast<const char *>(value));
   return 0;
}

TEST(HashTable, CaselessCopiedKeysInInsertionOrder) {
   gDestroyed = 0;
   HashTable *ht = HashTable_Alloc(128, HASH_ISTRING_KEY | HASH_FLAG_COPYKEY, CountingFree);
   char key[16];
   std::strcpy(key, "Monolithic");
   EXPECT_TRUE(HashTable_Insert(ht, key, strdup("a")));
   std::strcpy(key, "zzz");  // the table kept its own copy
   EXPECT_TRUE(HashTable_Insert(ht, "tools", strdup("b")));
   EXPECT_TRUE(HashTable_Insert(ht, "Upgrader", strdup("c")));
   void *dup = strdup("x");
   EXPECT_FALSE(HashTable_Insert(ht, "MONOLITHIC", dup));
   std::free(dup);

   void *v = nullptr;
   ASSERT_TRUE(HashTable_Lookup(ht, "monolithic", &v));
   EXPECT_STREQ(static_cast<char *>(v), "a");
   EXPECT_TRUE(HashTable_Lookup(ht, "UPGRADER", nullptr));
   EXPECT_FALSE(HashTable_Lookup(ht, "zzz", nullptr));

   std::vector<std::string> seen;
   HashTable_ForEach(ht, Collect, &seen);
   EXPECT_EQ(seen, (std::vector<std::string>{"Monolithic=a", "tools=b", "Upgrader=c"}));

   // LookupAndDelete hands the value over; Delete destroys it.
   ASSERT_TRUE(HashTable_LookupAndDelete(ht, "TOOLS", &v));
   EXPECT_EQ(gDestroyed, 0);
   std::free(v);
   EXPECT_FALSE(HashTable_LookupAndDelete(ht, "tools", &v));
   EXPECT_TRUE(HashTable_Delete(ht, "upgrader"));
   EXPECT_EQ(gDestroyed, 1);
   EXPECT_EQ(HashTable_GetNumElements(ht), 1u);
   HashTable_Free(ht);
   EXPECT_EQ(gDestroyed, 2);
   HashTable_Free(nullptr);
}

TEST(HashTable, ExactAndIntegerKeys) {
   HashTable *exact = HashTable_Alloc(4, HASH_STRING_KEY | HASH_FLAG_COPYKEY, nullptr);
   int a = 1, b = 2;
   EXPECT_TRUE(HashTable_Insert(exact, "Key", &a));
   EXPECT_TRUE(HashTable_Insert(exact, "key", &b));
   void *v = nullptr;
   ASSERT_TRUE(HashTable_Lookup(exact, "key", &v));
   EXPECT_EQ(v, &b);
   HashTable_Free(exact);

   HashTable *ints = HashTable_Alloc(4, HASH_INT_KEY, nullptr);
   EXPECT_TRUE(HashTable_Insert(ints, reinterpret_cast<void *>(7), &a));
   EXPECT_FALSE(HashTable_Insert(ints, reinterpret_cast<void *>(7), &b));
   EXPECT_TRUE(HashTable_Lookup(ints, reinterpret_cast<void *>(7), &v));
   EXPECT_EQ(v, &a);
   HashTable_Free(ints);
}

TEST(HashTable, ForEachStopsAtNonZero) {
   HashTable *ht = HashTable_Alloc(4, HASH_ISTRING_KEY | HASH_FLAG_COPYKEY, nullptr);
   int dummy = 0;
   HashTable_Insert(ht, "a", &dummy);
   HashTable_Insert(ht, "b", &dummy);
   int calls = 0;
   auto stop = [](const char *, void *, void *data) {
      ++*static_cast<int *>(data);
      return 9;
   };
   EXPECT_EQ(HashTable_ForEach(ht, stop, &calls), 9);
   EXPECT_EQ(calls, 1);
   HashTable_Free(ht);
}

}  // namespace
