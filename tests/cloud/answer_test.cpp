// Which answers are taken: any that HTTP allows, whatever the server means by it.
#include "tests/cloud/transfer_test.h"

namespace {

class AnswerTest : public TransferTest {
 protected:
  const std::string four = "Content-Length: 4";
  const Send body = {"0123"};
};

TEST_F(AnswerTest, NoStatusMattersAndNoRedirectIsFollowed) {
  const std::string away = "Location: https://cloud.test:1/", wants = "WWW-Authenticate: Basic";
  MeetAnswers({
      {"moved for good", {Head("301 Moved", {away, four}), body}, CURLE_OK, "0123"},
      {"moved", {Head("302 Moved", {away, four}), body}, CURLE_OK, "0123"},
      {"who are you", {Head("401 No", {wants, four}), body}, CURLE_OK, "0123"},
      {"not found", {Head("404 No", {four}), body}, CURLE_OK, "0123"},
      {"broken", {Head("500 No", {four}), body}, CURLE_OK, "0123"},
      {"unheard of", {Head("999 No", {four}), body}, CURLE_OK, "0123"},
      {"of an old server", {Send{"HTTP/1.0 200 OK\r\n\r\n"}, body}, CURLE_OK, "0123"},
      {"the second one", {Head("100 Continue"), Head("200 OK", {four}), body}, CURLE_OK, "0123"},
      {"no content", {Head("204 No", {four}), body}, CURLE_OK, ""},
      {"not modified", {Head("304 No", {four}), body}, CURLE_OK, ""},
  });
}

TEST_F(AnswerTest, TheHeadersDecideHowFarABodyGoes) {
  const std::string huge = "Content-Length: 99999999999999999999",
                    zipped = "Content-Encoding: gzip";
  const std::string chunked = "Transfer-Encoding: chunked", two = "Content-Length: 2";
  const Send chunks = {"2;a=b\r\n01\r\n2\r\n23\r\n0\r\nA: b\r\n\r\n"};
  MeetAnswers({
      {"empty", {Head("200 OK", {"Content-Length: 0"})}, CURLE_OK, ""},
      {"no further", {Head("200 OK", {four}), Send{"012345"}}, CURLE_OK, "0123"},
      {"more than a number holds", {Head("200 OK", {huge}), body}, CURLE_OK, "0123"},
      {"the last of two lengths",
       {Head("200 OK", {"Content-Length: 5", four}), body},
       CURLE_OK,
       "0123"},
      {"chunks, not the length", {Head("200 OK", {two, chunked}), chunks}, CURLE_OK, "0123"},
      {"never unpacked", {Head("200 OK", {zipped, four}), body}, CURLE_OK, "0123"},
  });
}

TEST_F(AnswerTest, AHeadThatIsNoneIsAFailure) {
  const Send longHeader = {"HTTP/1.1 200 OK\r\nContent-Length: 4\r\nA: "}, end = {"\r\n\r\n"};
  MeetAnswers({
      {"90 kB are one", {longHeader, Fill{90'000}, end, body}, CURLE_OK, "0123"},
      {"110 kB are none", {longHeader, Fill{110'000}, end, body}, CURLE_OUT_OF_MEMORY, ""},
      {"below zero", {Head("200 OK", {"Content-Length: -4"})}, CURLE_WEIRD_SERVER_REPLY, ""},
      {"no number", {Head("200 OK", {"Content-Length: four"})}, CURLE_WEIRD_SERVER_REPLY, ""},
      {"no colon", {Head("200 OK", {"colon", four}), body}, CURLE_WEIRD_SERVER_REPLY, ""},
      {"no head at all", {body}, CURLE_UNSUPPORTED_PROTOCOL, ""},
      {"no status", {Head("two", {four}), body}, CURLE_UNSUPPORTED_PROTOCOL, ""},
      {"HTTP of a far day", {Send{"HTTP/9 200 OK\r\n\r\n"}}, CURLE_UNSUPPORTED_PROTOCOL, ""},
  });
}

TEST_F(AnswerTest, EveryByteOfABodyIsKept) {
  const std::string odd("<html>\0\xff\r", 9), large(2U << 20U, 'x');
  const Send headOfLarge = Head("200 OK", {"Content-Length: " + std::to_string(large.size())});
  MeetAnswers({
      {"odd bytes", {Head("200 OK", {"Content-Length: 9"}), Send{odd}}, CURLE_OK, odd},
      {"2 MiB", {headOfLarge, Fill{large.size()}}, CURLE_OK, large},
      {"2 MiB unannounced", {Head("200 OK"), Fill{large.size()}}, CURLE_OK, large},
  });
}

}  // namespace
