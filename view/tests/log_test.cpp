// The session's log, the hub and the words of frames: what needs no camera.
#include "frame_words.h"
#include "guards.h"
#include "hub.h"
#include "session_log.h"

#include <gtest/gtest.h>

using namespace view;

static Session parse(const std::string &text) {
    Session session;
    EXPECT_EQ(parseSession(text, session), "");
    return session;
}

TEST(SessionLog, what_is_spelt_is_read_again) {
    const std::string text = "session 1\npart\noption seed 7\nstored position 0102030405060708\n"
                             "0 setting 1 1\n420 send 81010407 27FF\n420 set distance 3\n"
                             "900 power-cycle\n900 end\npart\noption lens A\n";
    EXPECT_EQ(spellSession(parse(text)), text);
}

TEST(SessionLog, a_wrong_line_is_named) {
    Session session;
    for (const char *line : {"part x", "option seed", "optionseed 7", "12", "12 ",
                             " 12 set night on", "-1 set night on", "1234567890123 set night on",
                             "12 set\tnight", "9 set night on\n8 set night off",
                             "9 end\n10 set night on", "9 set night on\noption seed 7",
                             "12 "
                             "\x80"})
        EXPECT_NE(parseSession(std::string("session 1\npart\n") + line + "\n", session), "")
            << line;
    EXPECT_EQ(parseSession("session 1\npart\n\n", session).substr(0, 7), "line 3:");
    EXPECT_NE(parseSession("session 2\npart\n", session), "");
    EXPECT_NE(parseSession("session 1\n9 set night on\n", session), "");
    EXPECT_NE(parseSession("session 1\n", session), "");
}

TEST(SessionLog, a_power_cycle_carries_the_world_and_the_store_over) {
    const Session session =
        parse("session 1\npart\noption seed 7\noption picture a.png\noption zoom-start 11000\n"
              "stored position 00\n5 set distance 3\n6 set distance 2\n7 setting 2 1\n7 fault a "
              "on\n7 fault b on\n8 fault b off\n"
              "8 send 81\n9 power-cycle\n9 end\n");
    const SessionPart left = parse("session 1\npart\noption zoom-start 12000\nstored line 01\n")[0];
    const SessionPart next = continueAfter(session[0], left, {{"picture", ""}, {"replies", "1"}});
    EXPECT_EQ(spellPart(next), "part\noption seed 7\noption distance 2\noption zoom-start 12000\n"
                               "option replies 1\nstored line 01\n0 setting 2 1\n0 fault a on\n");
}

TEST(SessionLog, what_comes_after_a_branch_is_cut) {
    const Session session = parse("session 1\npart\n5 set night on\n6 set night off\n9 end\n");
    EXPECT_EQ(spellPart(cutAfter(session[0], 5)), "part\n5 set night on\n");
}

TEST(SessionLog, hex_is_pairs_and_nothing_else) {
    std::vector<uint8_t> bytes;
    EXPECT_TRUE(parseHex("81 0a FF", bytes));
    EXPECT_EQ(spellHex(bytes.data(), bytes.size()), "810AFF");
    for (const char *text : {"", "8", "8 1 0", "8g", "0x81"})
        EXPECT_FALSE(parseHex(text, bytes)) << text;
}

TEST(Guards, only_this_machine_by_its_own_names) {
    for (const char *host : {"localhost", "localhost:8043", "127.0.0.1:1", "[::1]:65535"})
        EXPECT_TRUE(isLocalHost(host)) << host;
    for (const char *host :
         {"", "evil.example", "localhost.evil.example", "localhost:80.evil.example",
          "127.0.0.1.evil.example:8043", "localhost:", "localhost:123456", "[::1", "127.0.0.2",
          "evil.example:localhost"})
        EXPECT_FALSE(isLocalHost(host)) << host;
    EXPECT_TRUE(isSameOrigin("http://localhost:8043", "localhost:8043"));
    EXPECT_FALSE(isSameOrigin("http://localhost:8044", "localhost:8043"));
    EXPECT_FALSE(isSameOrigin("https://localhost:8043", "localhost:8043"));
    EXPECT_FALSE(isSameOrigin("null", "localhost:8043"));
}

TEST(Guards, a_token_is_whole_or_wrong) {
    const std::string token = makeToken();
    EXPECT_EQ(token.size(), 32U);
    EXPECT_NE(token, makeToken());
    EXPECT_TRUE(isToken(token, token));
    EXPECT_FALSE(isToken("", token));
    EXPECT_FALSE(isToken(token.substr(1), token));
    EXPECT_FALSE(isToken(token + "0", token));
    EXPECT_FALSE(isToken("", ""));
}

static size_t countOf(const std::string &text, const std::string &part) {
    size_t count = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size())
        ++count;
    return count;
}

TEST(Hub, each_reader_gets_every_message_once) {
    Hub hub;
    Reader early;
    hub.publish(0, "{\"first\":1}");
    std::string text = hub.read(early);
    for (int ms = 40; ms <= 40000; ms += 40)
        hub.publish(ms, "{\"n\":" + std::to_string(ms) + "}");
    text += hub.read(early);
    EXPECT_EQ(countOf(text, "{\"n\":"), 1000U);
    EXPECT_EQ(countOf(text, "{\"first\""), 1U);
    Reader late;
    EXPECT_EQ(countOf(hub.read(late), "{\"n\":"), 1000U);
}

TEST(Hub, a_reader_that_was_left_behind_begins_anew) {
    Hub hub;
    Reader slow;
    hub.hold("lens", "{\"k\":\"lens\"}");
    hub.read(slow);
    for (int ms = 0; ms <= 100000; ms += 40)
        hub.publish(ms, "{\"n\":" + std::to_string(ms) + "}");
    const std::string text = hub.read(slow);
    EXPECT_EQ(countOf(text, "reset"), 1U);
    EXPECT_EQ(countOf(text, "{\"n\":"), 1551U); // 62 seconds and both ends
    EXPECT_EQ(countOf(text, "{\"k\":\"lens\"}"), 1U);
}

TEST(Hub, going_back_forgets_what_was_told_since) {
    Hub hub;
    Reader reader;
    for (int ms = 0; ms < 1000; ms += 100)
        hub.publish(ms, "{\"n\":" + std::to_string(ms) + "}");
    hub.read(reader);
    hub.rewind(500);
    hub.publish(500, "{\"other\":1}");
    const std::string text = hub.read(reader);
    EXPECT_EQ(countOf(text, "reset"), 1U);
    EXPECT_EQ(countOf(text, "{\"n\":"), 5U);
    EXPECT_EQ(countOf(text, "{\"other\""), 1U);
}

TEST(FrameWords, frames_end_where_they_do) {
    EXPECT_EQ(measureFrame({0x81, 0x01, 0x04}), 0U);
    EXPECT_EQ(measureFrame({0x81, 0x01, 0xFF, 0x81}), 3U);
    EXPECT_EQ(measureFrame({0xFF, 0x01, 0, 0x20, 0, 0}), 0U);
    EXPECT_EQ(measureFrame({0xFF, 0x01, 0, 0x20, 0, 0, 0x21, 0x81}), 7U);
    EXPECT_EQ(measureFrame(Bytes(16, 0x11)), 16U); // no frame, but the line goes on
}

TEST(FrameWords, both_sides_in_words) {
    EXPECT_EQ(explainOrder({0x81, 0x01, 0x04, 0x07, 0x27, 0xFF}), "VISCA: zoom toward tele");
    EXPECT_EQ(explainOrder({0x81, 0x01, 0x04, 0x47, 1, 2, 3, 4, 0xFF}), "VISCA: zoom to 4660");
    EXPECT_EQ(explainOrder({0x81, 0x01, 0x04, 0x3F, 2, 7, 0xFF}), "VISCA: recall preset 7");
    EXPECT_EQ(explainOrder({0xFF, 1, 0, 0x20, 0, 0, 0x21}), "Pelco-D: zoom toward tele");
    EXPECT_EQ(explainOrder({0xFF, 1, 0, 0x20, 0, 0, 0x22}),
              "Pelco-D: a frame with a wrong checksum");
    EXPECT_EQ(explainOrder({0xFF, 1, 0, 7, 0, 3, 0x0B}), "Pelco-D: recall preset 3");
    EXPECT_EQ(explainAnswer({0x90, 0x41, 0xFF}), "understood, on socket 1");
    EXPECT_EQ(explainAnswer({0x90, 0x62, 0x04, 0xFF}), "cancelled on socket 2");
    EXPECT_EQ(explainAnswer({0x90, 0x50, 0, 1, 0, 0, 0xFF}), "at 256");
}
