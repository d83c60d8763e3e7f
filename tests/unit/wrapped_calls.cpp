// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// The linker hands these calls of the service to __wrap_NAME here, which write them into the
// platform's record: how the service deals with the bus shows between everything else.

#include <gio/gio.h>

#include "dbus/generated_ws_event_dbus.h"
#include "tests/doubles/recording_platform.h"

namespace {

void record(const char* function, std::vector<std::string> arguments, std::string result = "") {
  doubles::RecordingPlatform::instance().record(
      {function, std::move(arguments), std::move(result)});
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker makes the names.
// Visible, because the linker redirects references of GLib's own to them as well.
#pragma GCC visibility push(default)
extern "C" {

using Skeleton = GDBusInterfaceSkeleton;
using DataSource = WSDataStreaming1DataSource;
using Invocation = GDBusMethodInvocation;

gboolean __real_g_dbus_interface_skeleton_export(Skeleton*, GDBusConnection*, const char*,
                                                 GError**);
gboolean __wrap_g_dbus_interface_skeleton_export(Skeleton* skeleton, GDBusConnection* connection,
                                                 const char* path, GError** error) {
  const gboolean done = __real_g_dbus_interface_skeleton_export(skeleton, connection, path, error);
  record("export", {path}, done != FALSE ? "TRUE" : "FALSE");
  return done;
}

void __real_g_dbus_interface_skeleton_unexport(Skeleton*);
void __wrap_g_dbus_interface_skeleton_unexport(Skeleton* skeleton) {
  record("unexport", {});
  __real_g_dbus_interface_skeleton_unexport(skeleton);
}

void __real_g_bus_unown_name(guint);
void __wrap_g_bus_unown_name(guint id) {
  record("unown", {});
  __real_g_bus_unown_name(id);
}

guint __real_g_idle_add(GSourceFunc, gpointer);
guint __wrap_g_idle_add(GSourceFunc function, gpointer data) {
  record("queue", {});
  return __real_g_idle_add(function, data);
}

void __real_g_dbus_method_invocation_return_gerror(Invocation*, const GError*);
void __wrap_g_dbus_method_invocation_return_gerror(Invocation* invocation, const GError* error) {
  record("answer", {g_quark_to_string(error->domain), std::to_string(error->code), error->message});
  __real_g_dbus_method_invocation_return_gerror(invocation, error);
}

void __real_wsdata_streaming1_data_source_complete_create_session(DataSource*, Invocation*);
void __wrap_wsdata_streaming1_data_source_complete_create_session(DataSource* object,
                                                                  Invocation* invocation) {
  record("answer", {});
  __real_wsdata_streaming1_data_source_complete_create_session(object, invocation);
}

void __real_wsdata_streaming1_data_source_complete_remove_session(DataSource*, Invocation*);
void __wrap_wsdata_streaming1_data_source_complete_remove_session(DataSource* object,
                                                                  Invocation* invocation) {
  record("answer", {});
  __real_wsdata_streaming1_data_source_complete_remove_session(object, invocation);
}

void __real_wsdata_streaming1_data_source_complete_handle_request(DataSource*, Invocation*);
void __wrap_wsdata_streaming1_data_source_complete_handle_request(DataSource* object,
                                                                  Invocation* invocation) {
  record("answer", {});
  __real_wsdata_streaming1_data_source_complete_handle_request(object, invocation);
}

}  // extern "C"
#pragma GCC visibility pop
// NOLINTEND(bugprone-reserved-identifier)
