// What the offline store costs: journal and queue throughput, and what the
// in-flight journal adds to the thread that tracks an event (the whole
// tracked event is in tracking_event.cc).
//
// Each benchmark times every call and reports its percentiles as counters
// (p50_us, p99_us, max_us) besides the mean; items_per_second is the row
// throughput. With --benchmark_repetitions=N the report adds the median of
// each across the runs.
#include <benchmark/benchmark.h>

#include <string>

#include "caller_cost.h"
#include "orvanta/runtime.h"
#include "orvanta/testing/temporary_paths.h"
#include "orvanta/testing/test_platform.h"
#include "storage/database_source.h"
#include "storage/sqlite_handles.h"

namespace orvanta::bench {
namespace {

// About the size of a real tracking message.
const std::string kParams =
    "data={\"identity\":\"user@example.com\",\"osversion\":\"17.2\",\"sdkversion\":\"2.2.0\",\"appversion\":\"3.1\","
    "\"pushid\":\"6F1C2B0E-8D7A-4C55-9F0B-3E2A1D4C5B6A\",\"appid\":\"io.orvanta.bench\",\"ostype\":\"IOS\","
    "\"cts\":231114221320,\"lat\":null,\"lng\":null,\"sessionid\":\"231114221320\",\"tx\":231114221320,"
    "\"make\":\"apple\",\"model\":\"iphone 15\",\"eventid\":101,\"payload\":[{\"s^sku\":\"A-1029\",\"i^qty\":2,"
    "\"f^price\":19.99}],\"adid\":\"00000000-0000-0000-0000-000000000000\"}";

// A client on the test platform with a fresh database file. Nothing here
// touches the network; the queue manager is not started.
struct Client {
  Client() { runtime.databaseSource().createDatabase(); }
  DatabaseSource& database() { return runtime.databaseSource(); }

  testing::TestPlatform doubles;
  Runtime runtime{doubles.platform(), Config{}};
};

// Runs body once per iteration, timing each call.
template <typename Body>
void timeEach(benchmark::State& state, Body body) {
  LatencySamples samples;
  for (auto _ : state) samples.time(body);
  samples.report(state);
  state.SetItemsProcessed(state.iterations());
}

// What the journal adds to a tracked event on the caller's thread: one row
// written in one short transaction.
void BM_JournalWrite(benchmark::State& state) {
  Client client;
  timeEach(state, [&] { benchmark::DoNotOptimize(client.database().journalEvent("app_activity", kParams)); });
}

// The journal's whole life for a message answered 200: written, then dropped
// (the drop runs on the network thread in the client).
void BM_JournalWriteAndDrop(benchmark::State& state) {
  Client client;
  timeEach(state, [&] { client.database().dropJournaled(*client.database().journalEvent("app_activity", kParams)); });
}

void BM_QueueInsert(benchmark::State& state) {
  Client client;
  timeEach(state, [&] { benchmark::DoNotOptimize(client.database().addEvent("app_activity", kParams)); });
}

// For comparison: a connection opened and closed around every insert, with
// SQLite's defaults (rollback journal, synchronous=FULL).
void BM_NaiveOpenInsertClose(benchmark::State& state) {
  testing::TemporaryPaths paths;
  const std::string path = paths.documentsDirectory() + "/naive.sqlite";
  sqlite::execute(sqlite::open(path).get(),
                  "CREATE TABLE OfflineEvents (ID INTEGER PRIMARY KEY AUTOINCREMENT, EventName TEXT, EventData TEXT);");
  timeEach(state, [&] {
    sqlite::Connection db = sqlite::open(path);
    sqlite::Statement insert(db.get(), "insert into  OfflineEvents (EventName,EventData) Values(?,?)");
    insert.bindText(1, "app_activity");
    insert.bindText(2, kParams);
    benchmark::DoNotOptimize(insert.step());
  });
}

BENCHMARK(BM_JournalWrite)->Iterations(20000)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_JournalWriteAndDrop)->Iterations(20000)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_QueueInsert)->Iterations(20000)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NaiveOpenInsertClose)->Iterations(300)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace orvanta::bench
