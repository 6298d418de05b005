// The main function of every bench: the catalogue of the benches is the one that the process works
// with, and nothing of the user's own configuration is read.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QLoggingCategory>
#include <cstdio>
#include <fstream>

#include "bench/bench_shapes.h"
#include "platform/base/bench_setup.h"
#include "platform/catalogue/cmd_database.h"

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  // As the consoles do: traces are for whoever asks for them.
  QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
  const std::string folder = bench_shapes::ScratchFolder();
  std::ofstream(folder + "/platform.ini") << "[plc]\nVER=1\n";
  bench::Setup setup;
  setup.configDir = QCString::FromUtf8(folder);
  setup.dataDir = QCString::FromUtf8(folder + "/data");
  setup.catalogue = QCString::FromUtf8(bench_shapes::CataloguePath());
  setup.endpoint = QCString::FromUtf8("unix:" + folder + "/device");
  bench::SetSetup(setup);
  CCmdDatabase database;
  QCList<CmdInfo> commands;
  if (database.EnumCommands(commands, 3, 256, 0, 0) != 0) {
    std::fprintf(stderr, "no catalogue at %s\n", bench_shapes::CataloguePath().c_str());
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
