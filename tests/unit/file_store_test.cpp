// The demo's file store: a record that is replaced is never lost.
#include "fixtures.h"

#include "file_store.h"

#include <sys/resource.h>

TEST(FileStore, full_disk_leaves_the_old_record_and_one_of_another_size_is_none) {
    char folder[] = "/tmp/store-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const demo::FileStore store(folder);
    const std::string before(2040, 'o'), after(2040, 'n');
    std::string found(2040, '?');
    EXPECT_TRUE(store.write("record", before.data(), 2040));
    struct rlimit whole;
    getrlimit(RLIMIT_FSIZE, &whole);
    const struct rlimit half = {1000, whole.rlim_max};
    setrlimit(RLIMIT_FSIZE, &half);
    const bool written = store.write("record", after.data(), 2040);
    setrlimit(RLIMIT_FSIZE, &whole);
    EXPECT_FALSE(written);
    EXPECT_TRUE(store.read("record", found.data(), 2040));
    EXPECT_EQ(found, before);
    EXPECT_TRUE(store.write("record", after.data(), 2040)); // whatever has been left lying about
    EXPECT_TRUE(store.read("record", found.data(), 2040));
    EXPECT_EQ(found, after);
    EXPECT_FALSE(store.read("record", found.data(), 1));
    EXPECT_TRUE(store.write("record", "x", 1));
    EXPECT_FALSE(store.read("record", found.data(), 2040));
    std::filesystem::remove_all(folder);
    EXPECT_FALSE(store.write("record", after.data(), 2040));
}
