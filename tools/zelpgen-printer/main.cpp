// zelpgen-printer: an IPP Everywhere printer application for the large-format printers.
#include <pappl/pappl.h>
#include <tiffio.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "drivers.h"
#include "job.h"
#include "zelpgen/version.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kName = "zelpgen-printer";
constexpr const char* kFooter = "zelpgen-printer " ZELPGEN_VERSION_STRING
                                " &middot; print files for large-format ink-jet printers";

// `-o NAME=VALUE` of the server, else the environment's ZELPGEN_PRINTER_NAME.
const char* option(const char* name, int count, cups_option_t* options) {
  if (const char* value = cupsGetOption(name, count, options)) return value;
  std::string env = "ZELPGEN_PRINTER_";
  for (const char* p = name; *p != '\0'; ++p) {
    env += *p == '-' ? '_' : static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
  }
  return std::getenv(env.c_str());
}

// A whole number of `unit`s from an option; false when it is not one.
bool number(const char* name, const char* text, std::uint64_t unit, std::uint64_t* out) {
  if (text == nullptr) return true;
  char* end = nullptr;
  const unsigned long long n = std::strtoull(text, &end, 10);
  if (*text == '\0' || *end != '\0' || n == 0 || n > (1ull << 40) / unit) {
    std::fprintf(stderr, "%s: bad %s value '%s'\n", kName, name, text);
    return false;
  }
  *out = n * unit;
  return true;
}

std::string besideSelf(const char* program) {
  std::error_code error;
  const fs::path self = fs::read_symlink("/proc/self/exe", error);
  if (error) return program;
  return (self.parent_path() / program).string();
}

bool isLoopback(const std::string& host) {
  return host == "localhost" || host == "127.0.0.1" || host == "::1" || host == "[::1]";
}

bool saveState(pappl_system_t* system, void* data) {
  return papplSystemSaveState(system, static_cast<const char*>(data));
}

bool keepNothing(pappl_system_t*, void*) {
  return true;
}

pappl_system_t* makeSystem(int count, cups_option_t* options, void* /*data*/) {
  zp::Settings& s = zp::settings();
  std::uint64_t seconds = 0;
  if (!number("spool-limit", option("spool-limit", count, options), 1 << 20, &s.spoolLimit) ||
      !number("image-limit", option("image-limit", count, options), 1 << 20, &s.imageLimit) ||
      !number("memory-limit", option("memory-limit", count, options), 1 << 20,
              &s.limits.memoryBytes) ||
      !number("time-limit", option("time-limit", count, options), 1, &seconds)) {
    return nullptr;
  }
  if (seconds != 0) s.limits.wallSeconds = s.limits.cpuSeconds = static_cast<int>(seconds);
  s.limits.fileBytes = s.spoolLimit;
  const char* zelpgen = option("zelpgen", count, options);
  s.zelpgen = zelpgen != nullptr ? zelpgen : besideSelf("zelpgen");
  if (const char* gs = option("ghostscript", count, options)) s.ghostscript = gs;
  if (const char* icc = option("icc-profile", count, options)) s.iccProfile = icc;

  pappl_loglevel_t level = PAPPL_LOGLEVEL_WARN;
  if (const char* value = option("log-level", count, options)) {
    const char* names[] = {"debug", "info", "warn", "error", "fatal"};
    const pappl_loglevel_t levels[] = {PAPPL_LOGLEVEL_DEBUG, PAPPL_LOGLEVEL_INFO,
                                       PAPPL_LOGLEVEL_WARN, PAPPL_LOGLEVEL_ERROR,
                                       PAPPL_LOGLEVEL_FATAL};
    for (int i = 0; i < 5; ++i) {
      if (std::strcmp(value, names[i]) == 0) level = levels[i];
    }
  }
  int port = 0;
  if (const char* value = option("server-port", count, options)) port = std::atoi(value);

  std::string spool;
  if (const char* value = option("spool-directory", count, options)) {
    spool = value;
  } else if (getuid() == 0) {
    spool = std::string("/var/spool/") + kName;
  } else if (const char* home = std::getenv("HOME")) {
    spool = std::string(home) + "/.config/" + kName + ".d";
  } else {
    spool = std::string(papplGetTempDir()) + "/" + kName + std::to_string(getuid()) + ".d";
  }
  std::error_code ignored;
  fs::create_directories(spool, ignored);
  s.spoolDirectory = spool;

  // Beyond loopback the pages need a login: the access password or an authentication service.
  const char* listen = option("listen-hostname", count, options);
  const std::string listenHost = listen != nullptr ? listen : "localhost";
  const char* authService = option("auth-service", count, options);
  std::string passwordHash;
  if (const char* file = option("password-file", count, options)) {
    std::ifstream in(file);
    std::string password;
    std::getline(in, password);
    if (!in || password.empty()) {
      std::fprintf(stderr, "%s: cannot read a password from %s\n", kName, file);
      return nullptr;
    }
    passwordHash = password;
  }
  if (!isLoopback(listenHost) && authService == nullptr && passwordHash.empty()) {
    std::fprintf(stderr,
                 "%s: listening on %s needs a login: give -o auth-service=SERVICE (PAM) or "
                 "-o password-file=FILE\n",
                 kName, listenHost.c_str());
    return nullptr;
  }

  pappl_soptions_t soptions = PAPPL_SOPTIONS_MULTI_QUEUE | PAPPL_SOPTIONS_WEB_INTERFACE |
                              PAPPL_SOPTIONS_WEB_LOG | PAPPL_SOPTIONS_WEB_SECURITY;
  if (!isLoopback(listenHost)) soptions |= PAPPL_SOPTIONS_WEB_NETWORK | PAPPL_SOPTIONS_WEB_REMOTE;
  pappl_system_t* system =
      papplSystemCreate(soptions, kName, port, "_print,_universal", spool.c_str(),
                        option("log-file", count, options), level, authService, false);
  if (system == nullptr) return nullptr;
  if (!passwordHash.empty()) {
    char hash[100];
    papplSystemSetPassword(
        system, papplSystemHashPassword(system, nullptr, passwordHash.c_str(), hash, sizeof hash));
  }
  if (const char* group = option("admin-group", count, options)) {
    papplSystemSetAdminGroup(system, group);
  }
  if (const char* host = option("server-hostname", count, options)) {
    papplSystemSetHostName(system, host);
  } else if (isLoopback(listenHost)) {
    papplSystemSetHostName(system, "localhost");
  }
  if (!cupsGetOption("private-server", count, options) &&
      !papplSystemAddListeners(system, listenHost == "*" ? nullptr : listenHost.c_str())) {
    std::fprintf(stderr, "%s: cannot listen on %s port %d\n", kName, listenHost.c_str(), port);
    papplSystemDelete(system);
    return nullptr;
  }

  papplSystemSetPrinterDrivers(system, zp::driverCount(), zp::driverList(), nullptr, nullptr,
                               zp::driverCallback, nullptr);
  papplSystemSetMIMECallback(system, zp::detectFormat, nullptr);
  papplSystemAddMIMEFilter(system, "application/pdf", "image/pwg-raster", zp::filterPdf, nullptr);
  // Found before PAPPL's own PNG filter, which is looked up for image/pwg-raster.
  papplSystemAddMIMEFilter(system, "image/png", zp::kNativeFormat, zp::filterPng, nullptr);
  papplSystemSetFooterHTML(system, kFooter);
  pappl_version_t version{};
  std::snprintf(version.name, sizeof version.name, "%s", kName);
  std::snprintf(version.sversion, sizeof version.sversion, "%s", ZELPGEN_VERSION_STRING);
  papplSystemSetVersions(system, 1, &version);

  // Without a state file nothing is kept: PAPPL's own default would write below /var/lib.
  if (const char* state = option("state-file", count, options)) {
    papplSystemLoadState(system, state);
    papplSystemSetSaveCallback(system, saveState, const_cast<char*>(state));
  } else {
    papplSystemSetSaveCallback(system, keepNothing, nullptr);
  }
  return system;
}

}  // namespace

int main(int argc, char* argv[]) {
  // libtiff would print on the server's stderr; failures are reported with the job.
  TIFFSetErrorHandler(nullptr);
  TIFFSetWarningHandler(nullptr);
  return papplMainloop(argc, argv, ZELPGEN_VERSION_STRING, kFooter, zp::driverCount(),
                       zp::driverList(), nullptr, zp::driverCallback, nullptr, nullptr, makeSystem,
                       nullptr, nullptr);
}
