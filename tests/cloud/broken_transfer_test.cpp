// What is kept of a transfer that breaks off, or that only looks like it.
#include "tests/cloud/transfer_test.h"

namespace {

class BrokenTransferTest : public TransferTest {
 protected:
  const Send four = Head("200 OK", {"Content-Length: 4"});
  const Send endless = Head("200 OK");
  const Send chunked = Head("200 OK", {"Transfer-Encoding: chunked"});
  const Send cutHead = {"HTTP/1.1 200 OK\r\nContent-Le"};
  const std::string slow = std::string(99, 'x');  // comes in most of a second
};

TEST_F(BrokenTransferTest, BeforeTheHeadHasComeThereIsNoAnswer) {
  MeetAnswers({
      {"closed", {}, CURLE_GOT_NOTHING, ""},
      {"ended without TLS", {Fin{}}, CURLE_GOT_NOTHING, ""},
      {"only going on", {Head("100 Continue")}, CURLE_GOT_NOTHING, ""},
      {"reset", {Reset{}}, CURLE_RECV_ERROR, ""},
      {"reset in the head", {cutHead, Reset{}}, CURLE_RECV_ERROR, ""},
      {"stalled in the head", {cutHead, Stall{}}, CURLE_OPERATION_TIMEDOUT, ""},
      {"slow in the head", {cutHead, SendSlowly{slow}}, CURLE_OPERATION_TIMEDOUT, ""},
  });
}

// As libcurl sees it.
TEST_F(BrokenTransferTest, ACutHeadIsAnEmptyAnswer) {
  MeetAnswers({
      {"closed", {cutHead}, CURLE_OK, ""},
      {"ended without TLS", {cutHead, Fin{}}, CURLE_OK, ""},
  });
}

TEST_F(BrokenTransferTest, ABodyThatStopsShortIsAFailureThatKeepsWhatCame) {
  const Send ten = Head("200 OK", {"Content-Length: 10"});
  const Send ninetyNine = Head("200 OK", {"Content-Length: 99"});
  MeetAnswers({
      {"closed", {four, Send{"012"}}, CURLE_PARTIAL_FILE, "012"},
      {"closed early", {ten, Send{"0123"}}, CURLE_PARTIAL_FILE, "0123"},
      {"ended without TLS", {four, Send{"012"}, Fin{}}, CURLE_PARTIAL_FILE, "012"},
      {"reset", {four, Send{"012"}, Reset{}}, CURLE_RECV_ERROR, "012"},
      {"reset at its start", {four, Reset{}}, CURLE_RECV_ERROR, ""},
      {"stalled", {four, Send{"012"}, Stall{}}, CURLE_OPERATION_TIMEDOUT, "012"},
      {"stalled at its start", {four, Stall{}}, CURLE_OPERATION_TIMEDOUT, ""},
      {"slow", {ninetyNine, SendSlowly{slow}}, CURLE_OPERATION_TIMEDOUT, slow},
      {"no last chunk", {chunked, Send{"4\r\n0123\r\n"}}, CURLE_PARTIAL_FILE, "0123"},
      {"a cut chunk", {chunked, Send{"6\r\n0123"}}, CURLE_PARTIAL_FILE, "0123"},
      {"no chunk", {chunked, Send{"4\r\n0123\r\nzz\r\n"}}, CURLE_RECV_ERROR, "0123"},
  });
}

TEST_F(BrokenTransferTest, ABodyWithoutALengthEndsWithTheConnection) {
  MeetAnswers({
      {"closed", {endless, Send{"0123"}}, CURLE_OK, "0123"},
      {"ended without TLS", {endless, Send{"0123"}, Fin{}}, CURLE_OK, "0123"},
  });
}

TEST_F(BrokenTransferTest, ABodyThatComesInManyPiecesIsWhole) {
  MeetAnswers({{"a byte at a time", {four, SendSlowly{"0123"}}, CURLE_OK, "0123"}});
}

}  // namespace
