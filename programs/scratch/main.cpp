// scratch: not committed. A sample UI served by the screen, to look at the page.
#include <cstdio>
#include "host/HostPlatform.h"
#include "host/LinuxApplicationHost.h"
#include "host/RecordingSystemLog.h"
#include "diag/DRPlatformLogSink.h"
#include "platform/RunLoop.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Button.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/ImageAssets.h"
#include "platform/ui/Label.h"
#include "platform/ui/TextField.h"
#include "platform/ui/NavigationStackController.h"
#include "platform/ui/Window.h"
#include "platform/ui/Screen.h"
#include "platform/DocumentIconService.h"
#include "platform/Platform.h"
#include "shell/ScreenService.h"
using namespace velune;
struct Delegate : platform::ApplicationDelegate {
  std::shared_ptr<ui::Window> window;
  bool applicationDidFinishLaunchingWithOptions(platform::ApplicationHost&, const platform::Value::Dictionary&) override {
    auto root = std::make_shared<ui::ViewController>();
    root->setTitle("Velune Drive");
    root->view()->setBackgroundColor(ui::Color::white());
    const char* names[] = {"Photos", "Trips", "Notes.txt", "Report 2026.pdf", "Sunset.png", "Holiday film.mov"};
    for (int i = 0; i < 6; ++i) {
      auto row = ui::View::make(ui::Rect(0, 64 + i * 60, 390, 60));
      row->setIdentifier(std::string("row.") + names[i]);
      row->setAccessibilityLabel(std::string(names[i]));
      row->addGestureRecognizer(std::make_shared<ui::TapGestureRecognizer>([] {}));
      auto icon = std::make_shared<ui::ImageView>(ui::ImageAssets::named("Cloudload"));
      icon->setFrame(ui::Rect(16, 12, 36, 36));
      auto name = ui::Label::make(names[i]);
      name->setFrame(ui::Rect(64, 10, 280, 22));
      auto detail = ui::Label::make(i < 2 ? "Folder" : "12 KB, 3 Nov 2026");
      detail->setFont(ui::Font::systemFontOfSize(13));
      detail->setTextColor(ui::Color::gray());
      detail->setFrame(ui::Rect(64, 32, 280, 18));
      auto line = ui::View::make(ui::Rect(64, 59.5, 326, 0.5));
      line->setBackgroundColor(ui::Color::lightGray());
      row->addSubview(icon); row->addSubview(name); row->addSubview(detail); row->addSubview(line);
      root->view()->addSubview(row);
    }
    auto select = ui::BarButtonItem::withTitle("Select", ui::BarButtonItemStyle::Plain, [](ui::BarButtonItem&) {});
    root->navigationItem().setRightBarButtonItem(select);
    auto status = ui::Label::make("6 items, 4.2 GB available");
    status->setFont(ui::Font::systemFontOfSize(12));
    status->setTextAlignment(ui::TextAlignment::Center);
    status->setFrame(ui::Rect(0, 0, 220, 44));
    root->setToolbarItems({ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::FlexibleSpace),
                           ui::BarButtonItem::withCustomView(status),
                           ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::FlexibleSpace)});
    auto nav = ui::NavigationStackController::make(root);
    nav->setToolbarHidden(false, false);
    auto screen = ui::Screen::mainScreen();
    window = std::make_shared<ui::Window>(screen->bounds(), screen);
    window->setRootViewController(nav);
    window->makeKeyAndVisible();
    if (getenv("SCRATCH_SHEET")) {
      auto sheet = ui::AlertController::make(std::nullopt, std::string("Report 2026.pdf"), ui::AlertControllerStyle::ActionSheet);
      sheet->addAction(ui::AlertAction::make("Share", ui::AlertActionStyle::Default));
      sheet->addAction(ui::AlertAction::make("Move", ui::AlertActionStyle::Default));
      sheet->addAction(ui::AlertAction::make("Delete", ui::AlertActionStyle::Destructive));
      sheet->addAction(ui::AlertAction::make("Cancel", ui::AlertActionStyle::Cancel));
      root->presentViewController(sheet, false);
    }
    if (getenv("SCRATCH_ALERT")) {
      auto alert = ui::AlertController::make("New Folder", std::string("Enter a name for this folder."), ui::AlertControllerStyle::Alert);
      alert->addTextField([](ui::TextField& f) { f.setPlaceholder("Name"); });
      alert->addAction(ui::AlertAction::make("Cancel", ui::AlertActionStyle::Cancel));
      alert->addAction(ui::AlertAction::make("Save", ui::AlertActionStyle::Default));
      root->presentViewController(alert, false);
    }
    return true;
  }
};
int main(int argc, char** argv) {
  host::LinuxApplicationHost::blockTerminationSignals();
  host::HostOptions options;
  options.home = argv[1];
  host::HomeLayout layout(options.home);
  layout.ensureSkeleton();
  auto services = host::HostPlatform::makeServices(options);
  auto log = std::make_shared<host::RecordingSystemLog>(services.systemLog);
  services.systemLog = log;
  auto hostApp = std::dynamic_pointer_cast<host::LinuxApplicationHost>(services.applicationHost);
  shell::ScreenService::Options o; o.port = atoi(argv[2]);
  hostApp->addService(std::make_shared<shell::ScreenService>(layout, log, o));
  platform::Platform::install(services);
  DRPlatformLogSink::install();
  platform::ApplicationDelegate::registerClass("D", [] { return std::make_shared<Delegate>(); });
  return platform::ApplicationHost::main(argc, argv, std::nullopt, "D");
}
