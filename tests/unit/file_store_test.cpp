// The demo's file store: a record that is replaced is never lost.
#include "fixtures.h"

#include "file_store.h"
#include "scenario/temporary_folder.h"

#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

struct FileStore : testing::Test {
    const scenario::TemporaryFolder folder;
    const demo::FileStore store{folder.path()};
    const std::string odd = std::string(2040, 'o'), even = std::string(2040, 'e');
    std::string found = std::string(2040, '?');
};

} // namespace

TEST_F(FileStore, host_killed_with_two_writers_at_work_leaves_one_whole_record) {
    ASSERT_TRUE(store.write("record", odd.data(), 2040));
    for (useconds_t lifeUs = 0; lifeUs < 10000; lifeUs += 50) {
        const pid_t host = fork();
        if (host == 0) {
            const auto writeForEver = [this](const std::string &record) {
                while (store.write("record", record.data(), record.size()))
                    ;
                _exit(EXIT_FAILURE); // the other has taken what this one had written
            };
            std::thread other([&] { writeForEver(odd); });
            writeForEver(even);
        }
        usleep(lifeUs);
        kill(host, SIGKILL);
        int end = 0;
        waitpid(host, &end, 0);
        ASSERT_TRUE(WIFSIGNALED(end));
        ASSERT_TRUE(store.read("record", found.data(), 2040));
        ASSERT_TRUE(found == odd || found == even);
    }
}

TEST_F(FileStore, full_disk_leaves_the_old_record_and_one_of_another_size_is_none) {
    EXPECT_TRUE(store.write("record", odd.data(), 2040));
    struct rlimit whole;
    getrlimit(RLIMIT_FSIZE, &whole);
    const struct rlimit half = {1000, whole.rlim_max};
    setrlimit(RLIMIT_FSIZE, &half);
    const bool written = store.write("record", even.data(), 2040);
    setrlimit(RLIMIT_FSIZE, &whole);
    EXPECT_FALSE(written);
    EXPECT_TRUE(store.read("record", found.data(), 2040));
    EXPECT_EQ(found, odd);
    EXPECT_TRUE(store.write("record", even.data(), 2040)); // whatever has been left lying about
    EXPECT_TRUE(store.read("record", found.data(), 2040));
    EXPECT_EQ(found, even);
    EXPECT_FALSE(store.read("record", found.data(), 1));
    EXPECT_TRUE(store.write("record", "x", 1));
    EXPECT_FALSE(store.read("record", found.data(), 2040));
    std::filesystem::remove_all(folder.path());
    EXPECT_FALSE(store.write("record", even.data(), 2040));
}
