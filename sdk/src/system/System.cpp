#include "Orvane/System.h"

#include "logging/Logger.h"
#include "system/ActionCommands.h"
#include "system/SystemCore.h"

namespace Orvane {

SystemPtr System::GetInstance() {
    return SystemPtr(std::shared_ptr<System>(new System(internal::SystemCore::Acquire())));
}

System::System(std::shared_ptr<internal::SystemCore> core) : m_core(std::move(core)) {}

System::~System() { ReleaseInstance(); }

void System::ReleaseInstance() {
    if (!m_core) return;
    std::shared_ptr<internal::SystemCore> core;
    core.swap(m_core);
    internal::SystemCore::Release(core);
}

internal::SystemCore& System::Core() const {
    if (!m_core) Raise(ORV_HERE, ORVANE_ERR_NOT_AVAILABLE, "Null pointer dereferenced: the object is not available");
    return *m_core;
}

InterfaceList System::GetInterfaces(bool updateInterface) { return Core().Interfaces(updateInterface); }

CameraList System::GetCameras(bool updateInterfaces, bool updateCameras) {
    return Core().Cameras(updateInterfaces, updateCameras);
}

bool System::UpdateCameras(bool updateInterfaces) { return Core().UpdateCameras(updateInterfaces).Any(); }

bool System::IsInUse() { return Core().InUse(); }

LibraryVersion System::GetLibraryVersion() {
    return LibraryVersion{ORVANE_VERSION_MAJOR, ORVANE_VERSION_MINOR, 0, ORVANE_VERSION_PATCH};
}

GenApi::INodeMap& System::GetTLNodeMap() const { return Core().TLNodeMap(); }

void System::RegisterLoggingEventHandler(LoggingEventHandler& handler) { Logger::Register(handler); }
void System::UnregisterLoggingEventHandler(LoggingEventHandler& handler) { Logger::Unregister(handler); }
void System::UnregisterAllLoggingEventHandlers() { Logger::UnregisterAll(); }
void System::SetLoggingEventPriorityLevel(LogLevel level) { LoggerWrapper::SetPriority(level); }
LogLevel System::GetLoggingEventPriorityLevel() { return LoggerWrapper::GetPriority(); }

void System::RegisterEventHandler(EventHandler& handler, bool update) { Core().RegisterEventHandler(handler, update); }
void System::UnregisterEventHandler(EventHandler& handler) { Core().UnregisterEventHandler(handler); }

void System::SendActionCommand(unsigned int deviceKey, unsigned int groupKey, unsigned int groupMask,
                               unsigned long long actionTime, bool requestAcknowledgement, unsigned int* resultCount,
                               ActionCommandResult* results) {
    Core().SendActionCommand(
        internal::MakeActionCommand(deviceKey, groupKey, groupMask, actionTime, requestAcknowledgement), resultCount,
        results);
}

} // namespace Orvane
