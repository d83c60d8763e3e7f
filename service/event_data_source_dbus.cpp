// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "service/event_data_source_dbus.h"

#include <exception>
#include <iterator>

#include "common/log_level.h"
#include "common/ptr.h"
#include "service/dbus_errors.h"
#include "service/dbus_names.h"

EventDataSourceDBus::EventDataSourceDBus(EventConsumerHandler* consumerHandler) {
  skeleton_ = wsdata_streaming1_data_source_skeleton_new();
  const auto connect = [this, consumerHandler](const char* signal, GCallback handler) {
    g_signal_connect_data(skeleton_, signal, handler, consumerHandler, nullptr, GConnectFlags{});
  };
  connect("handle-create-session", G_CALLBACK(onCreateSession));
  connect("handle-remove-session", G_CALLBACK(onRemoveSession));
  connect("handle-handle-request", G_CALLBACK(onHandleRequest));
  ownerId_ =
      g_bus_own_name(G_BUS_TYPE_SYSTEM, dbus_names::kDataSourceBusName, G_BUS_NAME_OWNER_FLAGS_NONE,
                     onBusAcquired, onNameAcquired, onNameLost, this, onBusUnowned);
  registerDBusErrors();
}

EventDataSourceDBus::~EventDataSourceDBus() {
  g_bus_unown_name(ownerId_);
  // GLib calls onBusUnowned from sources that it queues at default priority, and the loop has
  // ended: turn the context until it has. Requests and events that are still queued wait at idle
  // priority behind those sources and are not run; a method call that is dispatched here still
  // finds everything it needs.
  while (skeleton_ != nullptr) {
    turnContext();
  }
}

void EventDataSourceDBus::turnContext() {
  try {
    g_main_context_iteration(nullptr, TRUE);
  } catch (const std::exception& exception) {
    // Nothing may leave the destructor: the rest of the way down would be missing. After an
    // exception that ended the loop, that one alone is reported; what made it often makes more.
    if (std::uncaught_exceptions() == 0) {
      g_log(nullptr, common::errorLevel(), "%sException when stopping lumenfeed: %s",
            common::kLogPrefix, exception.what());
    }
  }
}

GQuark EventDataSourceDBus::errorQuark() {
  static GQuark quark = 0;
  if (quark == 0) {
    quark = g_quark_from_static_string(dbus_names::kDataSourceErrorDomain);
  }
  return quark;
}

void EventDataSourceDBus::registerDBusErrors() {
  dbus_errors::registerNames(errorQuark(), dbus_names::kDataSourceErrors,
                             std::size(dbus_names::kDataSourceErrors));
}

void EventDataSourceDBus::onBusAcquired(GDBusConnection* connection, const char* /*name*/,
                                        void* userData) {
  auto* self = static_cast<EventDataSourceDBus*>(userData);
  common::GErrorPtr error;
  if (!g_dbus_interface_skeleton_export(G_DBUS_INTERFACE_SKELETON(self->skeleton_), connection,
                                        dbus_names::kDataSourceObjectPath,
                                        common::GErrorOut(error))) {
    g_log(nullptr, common::errorLevel(), "%sFailed to register D-Bus object '%s': %s",
          common::kLogPrefix, dbus_names::kDataSourceObjectPath, error->message);
  }
}

void EventDataSourceDBus::onNameAcquired(GDBusConnection* /*connection*/, const char* name,
                                         void* /*userData*/) {
  g_log(nullptr, G_LOG_LEVEL_INFO, "%sRegistered the name %s on dbus", common::kLogPrefix, name);
}

void EventDataSourceDBus::onNameLost(GDBusConnection* /*connection*/, const char* name,
                                     void* /*userData*/) {
  g_log(nullptr, common::errorLevel(), "%sFailed to register the name %s on dbus",
        common::kLogPrefix, name);
}

void EventDataSourceDBus::onBusUnowned(void* userData) {
  auto* self = static_cast<EventDataSourceDBus*>(userData);
  g_dbus_interface_skeleton_unexport(G_DBUS_INTERFACE_SKELETON(self->skeleton_));
  g_object_unref(self->skeleton_);
  self->skeleton_ = nullptr;
}
