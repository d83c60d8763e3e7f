// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/fuzz/service_calls.h"

#include <gio/gio.h>

#include "tests/fuzz/fuzz_check.h"

// What the data source calls, in place of a bus: the linker's --wrap. No invocation is behind the
// null that the handlers get, answer and never look into.
namespace {
WSDataStreaming1DataSource* skeleton = nullptr;
void* owner = nullptr;
GDestroyNotify onUnowned = nullptr;
}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker makes the names.
#pragma GCC visibility push(default)
extern "C" {
WSDataStreaming1DataSource* __real_wsdata_streaming1_data_source_skeleton_new();
WSDataStreaming1DataSource* __wrap_wsdata_streaming1_data_source_skeleton_new() {
  return skeleton = __real_wsdata_streaming1_data_source_skeleton_new();
}
guint __wrap_g_bus_own_name(GBusType, const char*, GBusNameOwnerFlags, GBusAcquiredCallback,
                            GBusNameAcquiredCallback, GBusNameLostCallback, void* data,
                            GDestroyNotify destroy) {
  owner = data;
  onUnowned = destroy;
  return 1;
}
void __wrap_g_bus_unown_name(guint) {
  onUnowned(owner);
}
void __wrap_g_dbus_interface_skeleton_unexport(GDBusInterfaceSkeleton*) {}
void __wrap_g_dbus_method_invocation_return_gerror(GDBusMethodInvocation*, const GError* error) {
  fuzz::said().push_back(std::string("error: ") + error->message);
}
void __wrap_wsdata_streaming1_data_source_complete_create_session(WSDataStreaming1DataSource*,
                                                                  GDBusMethodInvocation*) {
  fuzz::said().emplace_back("created");
}
void __wrap_wsdata_streaming1_data_source_complete_remove_session(WSDataStreaming1DataSource*,
                                                                  GDBusMethodInvocation*) {
  fuzz::said().emplace_back("removed");
}
void __wrap_wsdata_streaming1_data_source_complete_handle_request(WSDataStreaming1DataSource*,
                                                                  GDBusMethodInvocation*) {
  fuzz::said().emplace_back("handled");
}
}  // extern "C"
#pragma GCC visibility pop
// NOLINTEND(bugprone-reserved-identifier)

namespace fuzz {

namespace {

class SaidToStreamingService : public IWSServiceDBus {
 public:
  void sendResponse(const char* sessionId, const char* version, const char* requestId,
                    const char* sourceId, const char* method, const char* dataPayload) override {
    say("response", {sessionId, version, requestId, sourceId, method, dataPayload});
  }
  void sendErrorResponse(const char* sessionId, const char* version, const char* requestId,
                         const char* sourceId, const char* method, std::int32_t code,
                         const char* message) override {
    say("refusal",
        {sessionId, version, requestId, sourceId, method, std::to_string(code), message});
  }
  void sendStreamData(const char* sessionId, const char* version, const char* sourceId,
                      const char* method, const char* dataPayload) override {
    say("stream", {sessionId, version, sourceId, method, dataPayload});
  }

 private:
  static void say(std::string text, const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
      text += " " + argument;
    }
    said().push_back(std::move(text));
  }
};

}  // namespace

std::vector<std::string>& said() {
  static std::vector<std::string> texts;
  return texts;
}

ServiceCalls::ServiceCalls()
    : streaming_(std::make_unique<SaidToStreamingService>()),
      handler_(std::make_unique<EventConsumerHandler>(streaming_.get())),
      source_(std::make_unique<EventDataSourceDBus>(handler_.get())) {}

ServiceCalls::~ServiceCalls() {
  source_.reset();
  FUZZ_CHECK(EventConsumerHandler::sessions.empty());
}

void ServiceCalls::create(const std::string& session) {
  const char* const groups[] = {"viewers", nullptr};
  gboolean handled = FALSE;
  g_signal_emit_by_name(skeleton, "handle-create-session", nullptr, session.c_str(), groups,
                        &handled);
  FUZZ_CHECK(handled);
}

void ServiceCalls::remove(const std::string& session) {
  gboolean handled = FALSE;
  g_signal_emit_by_name(skeleton, "handle-remove-session", nullptr, session.c_str(), &handled);
  FUZZ_CHECK(handled);
}

void ServiceCalls::request(const Request& request, const std::string& payload) {
  gboolean handled = FALSE;
  g_signal_emit_by_name(skeleton, "handle-handle-request", nullptr, request.session.c_str(),
                        request.version.c_str(), request.id.c_str(), request.source.c_str(),
                        request.method.c_str(), payload.c_str(), &handled);
  FUZZ_CHECK(handled);
}

}  // namespace fuzz
