#pragma once
// Forward declarations of the platform layer, so that headers which only hold
// references or shared pointers stay light.

namespace velune::platform {

class URL;
class Error;
class Value;
class Date;
class Clock;
class ManualClock;
class DispatchQueue;
class DispatchSourceTimer;
class OperationQueue;
class RunLoop;
class Timer;

// Role interfaces of the phone platform. Each is implemented by host/ on Linux
// and by fakes in tests; Platform.h wires them together.
class ApplicationHost;
class SystemLog;
class ConsoleLog;
class LogRecordTee;
class NotificationService;
class PreferencesStore;
class ContainerPreferences;
class FileSystem;
class URLResourceService;
class FileCoordinationService;
class FileCoordinator;
class FilePresenter;
class SyncContainerService;
class SyncContainer;
class SyncURLService;
class FolderListingService;
class PromiseURLService;
class TypeRegistry;
class PreviewService;
class AppRegistry;
struct AppRecord;
class CloudKeyValueStore;
class AccountService;
class QuotaService;
class ReachabilityService;
class NetworkActivityIndicator;
class DocumentIconService;
class TransferProgressService;
class TransferProgress;
class DeviceInfo;

struct Services;

}  // namespace velune::platform

namespace velune::ui {
class Image;
}  // namespace velune::ui
