// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/platform/broker.h"
#include "tests/platform/event_support.h"
#include "tests/support/process.h"

namespace {

using ::testing::SizeIs;

/// Certificates of the test's own, made with the openssl tool.
class Certificates {
 public:
  Certificates() {
    authority("ca");
    authority("other-ca");
    issue("server", "ca", "DNS:localhost,IP:127.0.0.1");
    issue("misnamed", "ca", "DNS:elsewhere.example");
    issue("client", "ca", "DNS:client");
    issue("stranger", "other-ca", "DNS:client");
  }
  std::string certificate(const std::string& name) const { return directory_.file(name + ".pem"); }
  std::string key(const std::string& name) const { return directory_.file(name + ".key"); }

 private:
  void authority(const std::string& name) {
    run({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
         "-nodes", "-days", "2", "-subj", "/CN=" + name, "-keyout", key(name), "-out",
         certificate(name)});
  }
  void issue(const std::string& name, const std::string& issuer, const std::string& names) {
    run({"openssl", "req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
         "-subj", "/CN=" + name, "-keyout", key(name), "-out", directory_.file(name + ".csr")});
    run({"openssl", "x509", "-req", "-days", "2", "-in", directory_.file(name + ".csr"), "-CA",
         certificate(issuer), "-CAkey", key(issuer), "-CAcreateserial", "-extfile",
         directory_.write(name + ".ext", "subjectAltName=" + names), "-out", certificate(name)});
  }
  static void run(const std::vector<std::string>& command) {
    support::ExitStatus status;
    const std::string output = support::outputOf(command, {}, &status);
    if (!(status == support::ExitStatus())) {
      throw std::runtime_error(output);
    }
  }

  support::TempDir directory_;
};

class BrokerLogin : public support::EventTest {
 protected:
  /// A consumer with these lines in its configuration.
  support::ConsumerPtr consumerWith(const std::string& lines) {
    event::Configuration result;
    std::string error;
    EXPECT_TRUE(result.loadFile(
        broker_.directory().write("event2.conf", "[broker]\n" + lines + "\n"), error))
        << error;
    return support::consumerOf(result);
  }
  std::string tlsAddress(const std::string& host = "localhost") const {
    return "address=" + host + ":" + std::to_string(broker_.port()) + "\n";
  }
  /// A broker that talks TLS on its port, with that certificate, and wants one from clients.
  void startTlsBroker(const Certificates& made, const std::string& certificate,
                      bool fromClients = false) {
    broker_.listenOnPort("cafile " + made.certificate("ca") + "\ncertfile " +
                         made.certificate(certificate) + "\nkeyfile " + made.key(certificate) +
                         "\nrequire_certificate " + (fromClients ? "true" : "false"));
    broker_.start();
  }
  /// True once a consumer of its own with these lines has said so.
  bool isRefused(const std::string& lines) {
    const std::size_t before = log_.linesWith("No connection").size();
    const support::ConsumerPtr consumer = consumerWith(lines);
    return waitForLog("No connection", before + 1);
  }
  bool delivers(EventConsumer* consumer) {
    const support::Subscriber all(consumer);
    support::Publisher(broker_.socketPath()).publish("C/onvif-ej/Device/Trigger", "{}");
    return all.waitForEvents(1);
  }

  support::Broker broker_;
};

TEST_F(BrokerLogin, OverTcp) {
  broker_.listenOnPort();
  broker_.start();
  const support::ConsumerPtr consumer = consumerWith(tlsAddress("127.0.0.1"));
  ASSERT_TRUE(waitForLog("Connected to the broker at 127.0.0.1:"));
  EXPECT_TRUE(delivers(consumer.get()));
}

TEST_F(BrokerLogin, WithUserNameAndPassword) {
  const std::string passwords = broker_.directory().write("passwords", "");
  support::outputOf({"mosquitto_passwd", "-b", passwords, "me", "the right one"}, {});
  broker_.setSettings("allow_anonymous false\npassword_file " + passwords);
  broker_.start();
  const std::string login = "address=" + broker_.address() + "\nusername=me\npassword-file=";
  const support::ConsumerPtr refused =
      consumerWith(login + broker_.directory().write("wrong", "the wrong one\n"));
  ASSERT_TRUE(waitForLog("connection refused by the broker: Not authorized"));
  const support::ConsumerPtr consumer =
      consumerWith(login + broker_.directory().write("right", "the right one\n"));
  ASSERT_TRUE(waitForLog("Connected"));
  EXPECT_THAT(log_.linesWith("No connection"), SizeIs(1)) << "one line, however many tries";
}

TEST_F(BrokerLogin, OverTlsWithTheBrokersCertificate) {
  const Certificates made;
  startTlsBroker(made, "server");
  const support::ConsumerPtr consumer =
      consumerWith(tlsAddress() + "ca-file=" + made.certificate("ca"));
  ASSERT_TRUE(waitForLog("Connected"));
  EXPECT_TRUE(delivers(consumer.get()));
}

TEST_F(BrokerLogin, OverTlsWithACertificateOfOurOwn) {
  const Certificates made;
  startTlsBroker(made, "server", true);
  const std::string tls = tlsAddress() + "ca-file=" + made.certificate("ca");
  ASSERT_TRUE(isRefused(tls));
  ASSERT_TRUE(isRefused(tls + "\ncert-file=" + made.certificate("stranger") +
                        "\nkey-file=" + made.key("stranger")));
  EXPECT_FALSE(log_.has("Connected"));
  const support::ConsumerPtr consumer = consumerWith(
      tls + "\ncert-file=" + made.certificate("client") + "\nkey-file=" + made.key("client"));
  ASSERT_TRUE(waitForLog("Connected"));
  EXPECT_TRUE(delivers(consumer.get()));
}

TEST_F(BrokerLogin, ACertificateThatDoesNotFitIsNotTrusted) {
  const Certificates made;
  startTlsBroker(made, "server");
  const support::ConsumerPtr consumer =
      consumerWith(tlsAddress() + "ca-file=" + made.certificate("other-ca"));
  ASSERT_TRUE(waitForLog("certificate verify failed"));
}

TEST_F(BrokerLogin, ACertificateForAnotherHostIsNotTrusted) {
  const Certificates made;
  startTlsBroker(made, "misnamed");
  const support::ConsumerPtr consumer =
      consumerWith(tlsAddress() + "ca-file=" + made.certificate("ca"));
  ASSERT_TRUE(waitForLog("certificate verify failed"));
  EXPECT_FALSE(log_.has("Connected"));
}

}  // namespace
