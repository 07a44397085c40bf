// The one persistent log.
#include "fixtures.h"

#include <vector>

static const char kStamp[] = "2024-01-01 00:00:01 "; // 20 bytes, a second after power-on

TEST(Log, line_of_more_than_107_bytes_is_cut_and_stays_a_line) {
    const std::string longest(106, 'x');
    const std::vector<std::pair<std::string, std::string>> lines = {
        {longest + "\n", longest + "\n"},
        {longest + "y\n", longest + "\n"},
        {"", ""},
    };
    std::string expected;
    for (const auto &[given, kept] : lines)
        expected += kStamp + kept;
    onPoweredCamera([&] {
        sleep(1);
        for (const auto &[given, kept] : lines)
            aflog(std::string(given).data());
        FILE *file = fopen("/tmp/aflog", "r");
        ASSERT_NE(file, nullptr);
        char content[1000] = "";
        EXPECT_EQ(fread(content, 1, sizeof content, file), expected.size());
        EXPECT_EQ(content, expected);
    });
}
