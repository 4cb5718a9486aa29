// What the offline store costs: a refused message made durable through the
// public API, beside SQLite's own floor of one row per transaction and the
// naive pattern of a connection opened around every insert.
//
// Each benchmark times every call and reports its percentiles as counters
// (p50_us, p99_us, max_us) besides the mean; items_per_second is the row
// throughput.
#include <benchmark/benchmark.h>

#include <SQLiteCpp/SQLiteCpp.h>

#include <memory>
#include <string>

#include "caller_cost.h"
#include "orvanta/orvanta.h"
#include "orvanta/testing/temporary_paths.h"
#include "orvanta/testing/test_platform.h"

namespace orvanta::bench {
namespace {

// About the size of a real tracking message.
const std::string kParams =
    "data={\"identity\":\"user@example.com\",\"osversion\":\"17.2\",\"sdkversion\":\"2.2.0\",\"appversion\":\"3.1\","
    "\"pushid\":\"6F1C2B0E-8D7A-4C55-9F0B-3E2A1D4C5B6A\",\"appid\":\"io.orvanta.bench\",\"ostype\":\"IOS\","
    "\"cts\":231114221320,\"lat\":null,\"lng\":null,\"sessionid\":\"231114221320\",\"tx\":231114221320,"
    "\"make\":\"apple\",\"model\":\"iphone 15\",\"eventid\":101,\"payload\":[{\"s^sku\":\"A-1029\",\"i^qty\":2,"
    "\"f^price\":19.99}],\"adid\":\"00000000-0000-0000-0000-000000000000\"}";

constexpr const char* kCreateQueue =
    "CREATE TABLE OfflineEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, EventName TEXT, EventData TEXT);";
constexpr const char* kInsert = "insert into  OfflineEvents (EventName,EventData) Values(?,?)";

// Runs body once per iteration, timing each call.
template <typename Body>
void timeEach(benchmark::State& state, Body body) {
  LatencySamples samples;
  for (auto _ : state) samples.time(body);
  samples.report(state);
  state.SetItemsProcessed(state.iterations());
}

// A tracked event the server refuses, on the test platform: the envelope,
// its journal row, and (the scripted answer comes inline) the row moved into
// the offline queue, all on the caller's thread.
void BM_RefusedEventQueued(benchmark::State& state) {
  testing::TestPlatform doubles;
  doubles.http->answerWithStatus(500);
  Config config;
  config.trackingBaseUrl = "https://track.bench/";
  config.bundleIdentifier = "io.orvanta.bench";
  Runtime runtime(doubles.platform(), config);
  runtime.sharedManager().setUpApplicationId("bench-app");
  const Array payload{Map{{"s^sku", "A-1029"}, {"i^qty", 2}, {"f^price", 19.99}}};
  auto& tracking = runtime.appTracking();
  timeEach(state, [&] { tracking.sendAppTrackingEventWithCustomPayload(101, payload, nullptr); });
}

// The floor: one prepared insert per transaction on a WAL connection with
// synchronous=NORMAL, as the library keeps its file.
void BM_SqliteRowPerTransactionFloor(benchmark::State& state) {
  testing::TemporaryPaths paths;
  SQLite::Database db(paths.documentsDirectory() + "/floor.sqlite", SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
  db.exec("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;");
  db.exec(kCreateQueue);
  SQLite::Statement insert(db, kInsert);
  timeEach(state, [&] {
    insert.reset();
    insert.bind(1, "app_activity");
    insert.bind(2, kParams);
    benchmark::DoNotOptimize(insert.exec());
  });
}

// For comparison: a connection opened and closed around every insert, with
// SQLite's defaults (rollback journal, synchronous=FULL).
void BM_NaiveOpenInsertClose(benchmark::State& state) {
  testing::TemporaryPaths paths;
  const std::string path = paths.documentsDirectory() + "/naive.sqlite";
  SQLite::Database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE).exec(kCreateQueue);
  timeEach(state, [&] {
    SQLite::Database db(path, SQLite::OPEN_READWRITE);
    SQLite::Statement insert(db, kInsert);
    insert.bind(1, "app_activity");
    insert.bind(2, kParams);
    benchmark::DoNotOptimize(insert.exec());
  });
}

BENCHMARK(BM_RefusedEventQueued)->Iterations(20000)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SqliteRowPerTransactionFloor)->Iterations(20000)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NaiveOpenInsertClose)->Iterations(300)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orvanta::bench
