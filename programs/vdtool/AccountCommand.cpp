// vdtool account [sign-in TOKEN | sign-out]: shows or changes the account
// signed in on the simulated phone. A running app is told at once (the
// account-identity-changed notification).

#include <cstdio>

#include "host/DeviceConfiguration.h"
#include "host/DeviceSettingsEditor.h"
#include "programs/vdtool/DeviceCommandSupport.h"
#include "programs/vdtool/VdtoolCommand.h"

namespace velune::host::vdtool {
namespace {

constexpr size_t kMaximumTokenLength = 256;

bool isValidToken(const std::string& token) {
  if (token.empty() || token.size() > kMaximumTokenLength) {
    return false;
  }
  for (const unsigned char c : token) {
    if (c < 0x20 || c == 0x7f) {
      return false;
    }
  }
  return true;
}

int usage() {
  std::fprintf(stderr,
               "usage: vdtool account [sign-in TOKEN | sign-out]\n"
               "  TOKEN: 1 to %zu characters, no control characters\n",
               kMaximumTokenLength);
  return kExitUsage;
}

int runAccount(VdtoolContext& context, const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    const auto device = readDeviceSettings(context.layout);
    if (device.identityToken) {
      std::printf("signed in: %s\n", device.identityToken->c_str());
    } else {
      std::printf("signed out\n");
    }
    return 0;
  }
  nlohmann::json token;
  if (arguments[0] == "sign-in" && arguments.size() == 2 && isValidToken(arguments[1])) {
    token = arguments[1];
  } else if (arguments[0] == "sign-out" && arguments.size() == 1) {
    token = nullptr;
  } else {
    return usage();
  }
  std::string note;
  if (auto error = DeviceSettingsEditor::set(context.layout, "identityToken", token, &note)) {
    std::fprintf(stderr, "vdtool: cannot change the account: %s\n", error->description().c_str());
    return kExitFailure;
  }
  printNote(note);
  if (token.is_null()) {
    std::printf("signed out\n");
  } else {
    std::printf("signed in: %s\n", arguments[1].c_str());
  }
  return 0;
}

const VdtoolCommand::Registration kAccount{
    {"account", "[sign-in TOKEN | sign-out]", "show, sign in or sign out the phone's account", &runAccount}};

}  // namespace
}  // namespace velune::host::vdtool
