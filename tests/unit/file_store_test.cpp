// The demo's file store: a record that is replaced is never lost.
#include "fixtures.h"

#include "file_store.h"

#include <array>
#include <csignal>
#include <sys/ptrace.h>
#include <sys/resource.h>

namespace {

using Record = std::array<char, 2040>;

Record filledWith(char content) {
    Record record;
    record.fill(content);
    return record;
}

class FileStore : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(mkdtemp(folder), nullptr);
        store = std::make_unique<demo::FileStore>(folder);
    }

    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    bool writeRecord(char content) {
        const Record record = filledWith(content);
        return store->write("record", record.data(), record.size());
    }

    /// The content of the record, '-' when there is none that is whole.
    char readRecord() {
        Record record = filledWith('?');
        if (!store->read("record", record.data(), record.size()))
            return '-';
        return record == filledWith(record[0]) ? record[0] : '-';
    }

    /// Replace the record in a process that is killed before its system call number @p calls;
    /// false when it has ended before.
    bool killReplacing(int calls);

    char folder[32] = "/tmp/store-XXXXXX";
    std::unique_ptr<demo::FileStore> store;
};

bool FileStore::killReplacing(int calls) {
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            _exit(1);
        raise(SIGSTOP);
        writeRecord('n');
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    for (int stop = 0; stop < 2 * calls - 1 && WIFSTOPPED(status); ++stop) { // entry and return
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, &status, 0);
    }
    const bool killed = WIFSTOPPED(status);
    if (killed) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    return killed;
}

} // namespace

TEST_F(FileStore, host_killed_before_any_system_call_leaves_the_old_or_the_new_record) {
    ASSERT_TRUE(writeRecord('o'));
    int calls = 0;
    while (readRecord() == 'o' && killReplacing(calls + 1))
        ++calls;
    EXPECT_EQ(readRecord(), 'n');
    EXPECT_GT(calls, 4); // a file opened, written, flushed and closed before it is renamed
    EXPECT_TRUE(writeRecord('l')); // whatever a kill has left lying about
    EXPECT_EQ(readRecord(), 'l');
}

TEST_F(FileStore, full_disk_leaves_the_old_record) {
    ASSERT_TRUE(writeRecord('o'));
    struct rlimit whole;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &whole), 0);
    struct rlimit half = whole;
    half.rlim_cur = 1000;
    setrlimit(RLIMIT_FSIZE, &half);
    const bool written = writeRecord('n');
    setrlimit(RLIMIT_FSIZE, &whole);
    EXPECT_FALSE(written);
    EXPECT_EQ(readRecord(), 'o');
}

TEST_F(FileStore, record_of_another_size_or_folder_that_is_gone_is_a_failure) {
    char byte = 0;
    EXPECT_EQ(readRecord(), '-');
    EXPECT_TRUE(store->write("record", "x", 1));
    EXPECT_EQ(readRecord(), '-');
    EXPECT_TRUE(store->read("record", &byte, 1));
    EXPECT_EQ(byte, 'x');
    EXPECT_TRUE(writeRecord('o'));
    EXPECT_FALSE(store->read("record", &byte, 1));
    std::filesystem::remove_all(folder);
    EXPECT_FALSE(writeRecord('n'));
}
