// What comes of a server that cannot be reached, or that is not to be trusted: nothing.
#include "tests/cloud/transfer_test.h"

namespace {

class ConnectionTest : public TransferTest {};

TEST_F(ConnectionTest, WithoutAServerNothingComes) { ExpectNothingButCode(CURLE_COULDNT_CONNECT); }

TEST_F(ConnectionTest, ANameThatNobodyKnowsIsAFailure) {
  WriteText("/etc/hosts", "");
  WriteText("/etc/nsswitch.conf", "hosts: files\n");  // a name server might let us wait
  ExpectNothingButCode(CURLE_COULDNT_RESOLVE_HOST);
}

TEST_F(ConnectionTest, ASilentServerIsLeftWhenTheTimeIsOver) {
  Meet({
      {"says nothing", {Stall{}}, CURLE_OPERATION_TIMEDOUT, ""},
      {"says nothing once TLS has begun", {Tls{}, Stall{}}, CURLE_OPERATION_TIMEDOUT, ""},
  });
}

TEST_F(ConnectionTest, AServerThatAcceptsNobodyIsLeftWhenTheTimeIsOver) {
  const DeafServer deaf;
  ExpectNothingButCode(CURLE_OPERATION_TIMEDOUT);  // the first connects and waits
  ExpectNothingButCode(CURLE_OPERATION_TIMEDOUT);  // these do not even connect
}

TEST_F(ConnectionTest, AServerWithoutTlsIsAFailure) {
  Meet({
      {"leaves", {Hear{}}, CURLE_SSL_CONNECT_ERROR, ""},
      {"resets", {Hear{}, Reset{}}, CURLE_SSL_CONNECT_ERROR, ""},
      {"speaks HTTP", {Hear{}, Head("400 No"), Send{"0123"}}, CURLE_SSL_CONNECT_ERROR, ""},
      {"speaks nonsense", {Hear{}, Fill{99}}, CURLE_SSL_CONNECT_ERROR, ""},
  });
}

TEST_F(ConnectionTest, OnlyAValidCertificateOfTheAuthorityIsTrusted) {
  const std::vector<Step> answer = {Hear{}, Head("200 OK", {"Content-Length: 4"}), Send{"0123"}};
  const auto with = [&answer](const Tls& tls) {
    std::vector<Step> steps = answer;
    steps.insert(steps.begin(), tls);
    return steps;
  };
  Meet({
      {"dated, valid", with({cloudServer, Validity{-1, 1}}), CURLE_OK, "0123"},
      {"no more valid", with({cloudServer, Validity{-2, -1}}), CURLE_PEER_FAILED_VERIFICATION, ""},
      {"not yet valid", with({cloudServer, Validity{1, 2}}), CURLE_PEER_FAILED_VERIFICATION, ""},
      {"of another authority", with({unknownServer, {}}), CURLE_PEER_FAILED_VERIFICATION, ""},
      {"its own authority", with({unknownAuthority, {}}), CURLE_PEER_FAILED_VERIFICATION, ""},
  });
}

TEST_F(ConnectionTest, ACertificateForAnotherNameIsNotTrusted) {
  Trust(otherAuthority + ".pem");
  Meet({
      {"for another", {Tls{otherServer, {}}, Hear{}}, CURLE_PEER_FAILED_VERIFICATION, ""},
      {"of the other authority", {Tls{}, Hear{}}, CURLE_PEER_FAILED_VERIFICATION, ""},
  });
}

TEST_F(ConnectionTest, WithoutTheDevicesAuthorityNobodyIsTrusted) {
  struct Row {
    const char* name;
    std::string trusted;  // the text of the bundle
  };
  const Row rows[] = {
      {"a key in place of a certificate", ReadText(cloudAuthority + ".key")},
      {"an empty file", ""},
      {"no file", absent},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    WriteText("/tmp/cacert.pem", row.trusted);
    if (row.trusted == absent) Remove("/tmp/cacert.pem");
    Meet({{"serves well", {Tls{}, Hear{}, Head("200 OK")}, CURLE_SSL_CACERT_BADFILE, ""}});
  }
}

}  // namespace
