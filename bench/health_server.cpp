#include <cstdio>
#include <filesystem>
#include <string>

#include "common/text.h"
#include "server/routes/server.h"

// The resident's HTTP server alone, with nothing behind its routes: what bench/http.py measures.
//
//   health_server PORT

int main(int argc, char** argv) {
  const auto port = argc == 2 ? mrb::ParseDecimal(argv[1]) : std::nullopt;
  if (!port || *port > 65535) {
    std::fputs("usage: health_server PORT\n", stderr);
    return 2;
  }
  const auto home = std::filesystem::temp_directory_path() / "mirebolt-health-server";
  mrb::server::ServerOptions options;
  options.port = static_cast<std::int32_t>(*port);
  options.executable_folder = options.install_home = home.string();
  options.log = [](std::string_view line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
  };
  mrb::server::Server server(std::move(options));
  return server.serve();
}
