#pragma once

namespace korvan {

class AppGroupContainers;
class Clock;
class CodeSigning;
class ExtensionContext;
class LocalSockets;
class LocalizedStrings;
class OperatingSystem;
class PropertyListSerialization;
class Queues;
class Views;
class Workspace;

/// Everything that a controller needs from the system it runs on.
///
/// Passed as `std::shared_ptr<const Services>`. Its creator makes sure that the pointer keeps the
/// referenced objects alive, because background work may outlive the controller.
struct Services {
  AppGroupContainers& appGroupContainers;
  Clock& clock;
  CodeSigning& codeSigning;
  ExtensionContext& extensionContext;
  LocalSockets& localSockets;
  LocalizedStrings& localizedStrings;
  OperatingSystem& operatingSystem;
  PropertyListSerialization& propertyLists;
  Queues& queues;
  Views& views;
  Workspace& workspace;
};

}  // namespace korvan
