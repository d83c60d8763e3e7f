// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/support/fake_streaming_service.h"

#include <algorithm>
#include <iterator>
#include <ostream>
#include <stdexcept>
#include <utility>

#include "service/dbus_names.h"
#include "tests/support/glib_test.h"

namespace support {

namespace {

using NodeInfoPtr = common::Ptr<GDBusNodeInfo, g_dbus_node_info_unref>;

/// Written out here, not taken from the service: what its caller relies on.
constexpr const char* kInterfaceXml =
    "<node><interface name='com.ovra.WSDataStreaming1.Service'>"
    "<method name='SendResponse'><arg type='s'/><arg type='s'/><arg type='s'/><arg type='s'/>"
    "<arg type='s'/><arg type='s'/></method>"
    "<method name='SendErrorResponse'><arg type='s'/><arg type='s'/><arg type='s'/>"
    "<arg type='s'/><arg type='s'/><arg type='s'/></method>"
    "<method name='SendStreamData'><arg type='s'/><arg type='s'/><arg type='s'/><arg type='s'/>"
    "<arg type='s'/></method>"
    "</interface></node>";

/// RequestName or ReleaseName.
void callBus(GDBusConnection* connection, const char* method, GVariant* arguments) {
  common::GErrorPtr error;
  const common::Ptr<GVariant, g_variant_unref> result(g_dbus_connection_call_sync(
      connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
      arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, common::GErrorOut(error)));
  if (result == nullptr) {
    throw std::runtime_error(std::string(method) + ": " + error->message);
  }
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const ReceivedCall& call) {
  out << call.method << "(";
  for (const std::string& argument : call.arguments) {
    out << (&argument == &call.arguments.front() ? "" : ", ") << argument;
  }
  return out << ")";
}

FakeStreamingService::FakeStreamingService(std::string busAddress, bool present)
    : busAddress_(std::move(busAddress)) {
  if (present) {
    appear();
  }
}

FakeStreamingService::~FakeStreamingService() {
  disappear();
}

void FakeStreamingService::appear() {
  connection_ = connectToBus(busAddress_);
  const NodeInfoPtr node(g_dbus_node_info_new_for_xml(kInterfaceXml, nullptr));
  static const GDBusInterfaceVTable kTable = {onCall, nullptr, nullptr, {}};
  g_dbus_connection_register_object(connection_.get(), dbus_names::kServiceObjectPath,
                                    node->interfaces[0], &kTable, this, nullptr, nullptr);
  constexpr guint32 kDoNotQueue = 4;
  callBus(connection_.get(), "RequestName",
          g_variant_new("(su)", dbus_names::kServiceBusName, kDoNotQueue));
}

void FakeStreamingService::disappear() {
  if (connection_ != nullptr) {
    g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr);
  }
  for (GDBusMethodInvocation* invocation : waiting_) {
    g_object_unref(invocation);
  }
  waiting_.clear();
  connection_.reset();
}

void FakeStreamingService::dropName() {
  callBus(connection_.get(), "ReleaseName", g_variant_new("(s)", dbus_names::kServiceBusName));
}

void FakeStreamingService::answerWithError(const std::string& name, const std::string& message) {
  answer_ = Answer::kError;
  errorName_ = name;
  errorMessage_ = message;
}

void FakeStreamingService::answerWaiting() {
  for (GDBusMethodInvocation* invocation : waiting_) {
    g_dbus_method_invocation_return_value(invocation, nullptr);
  }
  waiting_.clear();
}

std::vector<ReceivedCall> FakeStreamingService::calls(const std::string& method) const {
  std::vector<ReceivedCall> found;
  std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
               [&](const ReceivedCall& call) { return call.method == method; });
  return found;
}

bool FakeStreamingService::waitForCalls(std::size_t count, const std::string& method) {
  return waitFor([&] { return (method.empty() ? calls_.size() : calls(method).size()) >= count; });
}

std::string FakeStreamingService::uniqueName() const {
  return g_dbus_connection_get_unique_name(connection_.get());
}

void FakeStreamingService::onCall(GDBusConnection* /*connection*/, const char* /*sender*/,
                                  const char* /*path*/, const char* /*interface*/,
                                  const char* method, GVariant* parameters,
                                  GDBusMethodInvocation* invocation, gpointer data) {
  auto* self = static_cast<FakeStreamingService*>(data);
  ReceivedCall call{method, {}, 0};
  for (gsize i = 0; i < g_variant_n_children(parameters); ++i) {
    const common::Ptr<GVariant, g_variant_unref> child(g_variant_get_child_value(parameters, i));
    call.arguments.emplace_back(g_variant_get_string(child.get(), nullptr));
  }
  call.serial = g_dbus_message_get_serial(g_dbus_method_invocation_get_message(invocation));
  self->calls_.push_back(call);
  switch (self->answer_) {
    case Answer::kReply:
      g_dbus_method_invocation_return_value(invocation, nullptr);
      break;
    case Answer::kError:
      g_dbus_method_invocation_return_dbus_error(invocation, self->errorName_.c_str(),
                                                 self->errorMessage_.c_str());
      break;
    case Answer::kNever:
      self->waiting_.push_back(invocation);
      break;
  }
}

}  // namespace support
