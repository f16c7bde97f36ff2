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

/// Everything that one controller needs of the system it runs on.
///
/// Passed as `std::shared_ptr<const Services>`: whoever creates it makes the pointer keep the
/// referred objects alive, since background work may outlive the controller.
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
