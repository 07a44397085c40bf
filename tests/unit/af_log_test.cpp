// The one persistent log.
#include "fixtures.h"

TEST(Log, line_of_more_than_107_bytes_is_cut_and_stays_a_line) {
    const std::string stamp = "2024-01-01 00:00:01 "; // 20 bytes, a second after power-on
    const std::string longest = std::string(106, 'x') + "\n";
    onPoweredCamera([&] {
        sleep(1);
        aflog(std::string(longest).data());
        aflog(std::string(107, 'x').data());
        aflog(std::string(108, 'x').data());
        FILE *file = fopen("/tmp/aflog", "r");
        ASSERT_NE(file, nullptr);
        char content[1000] = "";
        EXPECT_EQ(fread(content, 1, sizeof content, file), size_t(3 * 127));
        EXPECT_EQ(content, stamp + longest + stamp + std::string(107, 'x') + stamp + longest);
    });
}
