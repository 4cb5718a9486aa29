#include "platform/linux/curl_http_client.h"

#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "orvanta/log.h"
#include "platform/linux/curl_handles.h"

namespace orvanta {
namespace {

// How long the network thread sleeps with nothing to do. Any bound works:
// curl_multi_wakeup ends the wait as soon as there is work.
constexpr int kIdleWaitMillis = 1000;

constexpr std::string_view kStopped = "the HTTP client is stopped";
constexpr std::string_view kUnanswered = "no answer came before the HTTP client stopped";

// libcurl's global state, set up once per process and kept until exit.
void initCurlOnce() {
  static const CURLcode init = curl_global_init(CURL_GLOBAL_DEFAULT);
  static_cast<void>(init);  // a failure shows as curl_multi_init failing
}

// A request's time limit in whole units (1000 per second for milliseconds),
// at least one; 0, which libcurl reads as "no limit", when there is none.
long timeoutIn(double seconds, double unitsPerSecond) {
  if (!(seconds > 0)) return 0;
  return static_cast<long>(std::clamp(std::ceil(seconds * unitsPerSecond), 1.0, 2e9));
}

size_t appendBody(char* data, size_t size, size_t count, void* body) {
  static_cast<std::string*>(body)->append(data, size * count);
  return size * count;
}

// RFC 9110 token: what a header name may consist of.
bool isToken(std::string_view name) {
  static constexpr std::string_view kSymbols = "!#$%&'*+-.^_`|~";
  return !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           kSymbols.find(static_cast<char>(c)) != std::string_view::npos;
  });
}

bool lists(const HttpHeaders& headers, const char* name) {
  return std::any_of(headers.begin(), headers.end(),
                     [name](const auto& header) { return curl_strequal(header.first.c_str(), name); });
}

// Fills list with the request's own header lines, then with empty "Name:"
// lines that keep libcurl from adding its defaults. Answers why it could not.
std::string buildHeaderList(const HttpHeaders& headers, CurlHeaderList& list) {
  for (const auto& [name, value] : headers) {
    // A line break or NUL would end the header early or smuggle in another.
    if (!isToken(name) || value.find_first_of(std::string_view("\r\n\0", 3)) != std::string::npos) {
      return "a header name or value cannot be sent as given";
    }
    // "Name;" is libcurl's form for a header sent present and empty.
    if (!list.append(value.empty() ? name + ";" : name + ": " + value)) return "out of memory";
  }
  for (const char* name : {"Accept", "Content-Type", "Expect"}) {
    if (!lists(headers, name) && !list.append(std::string(name) + ":")) return "out of memory";
  }
  return {};
}

std::string urlPart(const CurlUrl& url, CURLUPart part) {
  char* text = nullptr;
  if (curl_url_get(url.get(), part, &text, 0) != CURLUE_OK) return {};
  return CurlString(text).get();
}

// Where a request went, for the log: host, port and path, but not the query,
// which may carry personal data.
std::string logTarget(const std::string& url) {
  CurlUrl parsed(curl_url());
  if (!parsed || curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) {
    return "(unparsable URL)";
  }
  std::string port = urlPart(parsed, CURLUPART_PORT);
  return urlPart(parsed, CURLUPART_HOST) + (port.empty() ? "" : ":" + port) +
         urlPart(parsed, CURLUPART_PATH);
}

HttpHeaders responseHeaders(CURL* easy) {
  HttpHeaders headers;
  curl_header* header = nullptr;
  // Request -1: the last one of the transfer, i.e. the final answer.
  while ((header = curl_easy_nextheader(easy, CURLH_HEADER, -1, header)) != nullptr) {
    headers.emplace_back(header->name, header->value);
  }
  return headers;
}

}  // namespace

// Everything the network thread works with. Shared between the client and
// the thread, so that a client destroyed on that thread (from a completion)
// leaves the engine alive until the thread is done with it.
class CurlHttpClient::Engine {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Engine(CurlHttpOptions options) : options_(std::move(options)), multi_(newMulti()) {
    if (!multi_) {
      logLine(options_.logPrefix + ": libcurl could not start; every HTTP request fails");
      stopping_ = true;
    }
  }

  // Any thread. Queues the job for the network thread, or fails it at once
  // on this thread when the engine has stopped or is draining.
  void submit(HttpRequest request, Completion completion) {
    {
      std::lock_guard lock(mutex_);
      if (!stopping_ && !drainUntil_) {
        queued_.push_back({std::move(request), std::move(completion)});
        curl_multi_wakeup(multi_.get());
        workArrived_.notify_one();
        return;
      }
    }
    fail({std::move(request), std::move(completion)}, std::string(kStopped));
  }

  // Any thread. Makes run() fail everything left and return.
  void requestStop() {
    std::lock_guard lock(mutex_);
    stopping_ = true;
    curl_multi_wakeup(multi_.get());
    workArrived_.notify_one();
  }

  // Any thread. From now on submit refuses; run() returns once the jobs
  // accepted so far have been answered, failing those still unanswered at
  // deadline.
  void requestDrain(Clock::time_point deadline) {
    std::lock_guard lock(mutex_);
    if (!drainUntil_ || deadline < *drainUntil_) drainUntil_ = deadline;
    curl_multi_wakeup(multi_.get());
    workArrived_.notify_one();
  }

  // The network thread's loop: starts queued jobs, drives the transfers and
  // delivers their answers until stopped, or until drained.
  void run() {
    for (;;) {
      std::vector<Job> arrived;
      bool stopping = false;
      std::optional<Clock::time_point> drainUntil;
      {
        std::lock_guard lock(mutex_);
        arrived.swap(queued_);
        stopping = stopping_;
        drainUntil = drainUntil_;
      }
      if (stopping) {
        failActive(std::string(kStopped));
        for (Job& job : arrived) fail(std::move(job), std::string(kStopped));
        return;
      }
      for (Job& job : arrived) start(std::move(job));
      // While draining nothing joins queued_, so the jobs accepted before are
      // all in active_ now.
      if (drainUntil) {
        if (active_.empty()) return;
        if (Clock::now() >= *drainUntil) {
          failActive(std::string(kUnanswered));
          return;
        }
      }

      int running = 0;
      CURLMcode code = curl_multi_perform(multi_.get(), &running);
      if (code == CURLM_OK) {
        deliverFinished();
        code = curl_multi_poll(multi_.get(), nullptr, 0, waitMillis(drainUntil), nullptr);
      }
      // The multi handle itself failed: its transfers cannot go on. It may
      // go on failing, so wait for new work rather than spin on it.
      if (code != CURLM_OK) {
        failActive(curl_multi_strerror(code));
        std::unique_lock lock(mutex_);
        workArrived_.wait_for(lock, std::chrono::milliseconds(kIdleWaitMillis),
                              [this] { return stopping_ || drainUntil_ || !queued_.empty(); });
      }
    }
  }

 private:
  struct Job {
    HttpRequest request;
    Completion completion;
  };

  // One job on its way; owns everything libcurl reads while it runs.
  struct Transfer {
    Job job;
    CurlEasy easy;
    CurlHeaderList headers;
    std::string body;
    char error[CURL_ERROR_SIZE] = {};
  };

  static CURLM* newMulti() {
    initCurlOnce();
    CURLM* multi = curl_multi_init();
    // One connection per host: a burst of requests to the tracking server
    // takes turns on one kept-alive connection instead of opening many.
    if (multi != nullptr) curl_multi_setopt(multi, CURLMOPT_MAX_HOST_CONNECTIONS, 1L);
    return multi;
  }

  void start(Job job) {
    auto transfer = std::make_unique<Transfer>(Transfer{std::move(job), {}, {}, {}, {}});
    std::string problem = configure(*transfer);
    CURL* easy = transfer->easy.get();
    if (problem.empty()) {
      CURLMcode added = curl_multi_add_handle(multi_.get(), easy);
      if (added == CURLM_OK) {
        active_.emplace(easy, std::move(transfer));
        return;
      }
      problem = curl_multi_strerror(added);
    }
    fail(std::move(transfer->job), problem);
  }

  // Sets the transfer up for its request; answers why it could not.
  std::string configure(Transfer& transfer) const {
    const HttpRequest& request = transfer.job.request;
    const bool post = request.method == "POST";
    if (!post && request.method != "GET") return "unsupported method";
    transfer.easy.reset(curl_easy_init());
    if (!transfer.easy) return "libcurl could not create a transfer";
    std::string problem = buildHeaderList(request.headers, transfer.headers);
    if (!problem.empty()) return problem;

    CURL* easy = transfer.easy.get();
    CURLcode code = CURLE_OK;
    auto set = [&](CURLoption option, auto value) {
      if (code == CURLE_OK) code = curl_easy_setopt(easy, option, value);
    };
    set(CURLOPT_ERRORBUFFER, transfer.error);
    set(CURLOPT_URL, request.url.c_str());
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_NOSIGNAL, 1L);
    // The limit is on standing still, not on the whole exchange: libcurl's
    // overall timeout would also count the wait for the host's connection
    // behind other requests. The connect timeout starts when that wait ends.
    set(CURLOPT_CONNECTTIMEOUT_MS, timeoutIn(request.timeoutSeconds, 1000));
    const long stallSeconds = timeoutIn(request.timeoutSeconds, 1);
    set(CURLOPT_LOW_SPEED_LIMIT, stallSeconds > 0 ? 1L : 0L);
    set(CURLOPT_LOW_SPEED_TIME, stallSeconds);
    set(CURLOPT_HTTPHEADER, transfer.headers.get());
    set(CURLOPT_WRITEFUNCTION, appendBody);
    set(CURLOPT_WRITEDATA, &transfer.body);
    const bool verify = options_.verifyServerCertificate;
    set(CURLOPT_SSL_VERIFYPEER, verify ? 1L : 0L);
    set(CURLOPT_SSL_VERIFYHOST, verify ? 2L : 0L);
    if (verify && !options_.caFile.empty()) set(CURLOPT_CAINFO, options_.caFile.c_str());
    if (post) {
      set(CURLOPT_POST, 1L);
      set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
      set(CURLOPT_POSTFIELDS, request.body.data());
    }
    return code == CURLE_OK ? std::string() : curl_easy_strerror(code);
  }

  // How long to wait for the network: at most until the drain's deadline, and
  // not at all once a drain has nothing left to wait for.
  int waitMillis(const std::optional<Clock::time_point>& drainUntil) const {
    if (!drainUntil) return kIdleWaitMillis;
    if (active_.empty()) return 0;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*drainUntil - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, kIdleWaitMillis));
  }

  void deliverFinished() {
    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
      if (message->msg != CURLMSG_DONE) continue;
      CURL* easy = message->easy_handle;
      const CURLcode result = message->data.result;  // message dies with the removal
      auto node = active_.extract(easy);
      curl_multi_remove_handle(multi_.get(), easy);
      deliver(*node.mapped(), result);
    }
  }

  void deliver(Transfer& transfer, CURLcode result) {
    long status = 0;
    if (result == CURLE_OK) curl_easy_getinfo(transfer.easy.get(), CURLINFO_RESPONSE_CODE, &status);
    if (status == 0) {
      std::string reason = transfer.error[0] != '\0' ? transfer.error
                           : result != CURLE_OK     ? curl_easy_strerror(result)
                                                    : "no HTTP status in the answer";
      fail(std::move(transfer.job), std::move(reason));
      return;
    }
    HttpResponse response;
    response.status = static_cast<int>(status);
    response.headers = responseHeaders(transfer.easy.get());
    response.body = std::move(transfer.body);
    transfer.job.completion(std::move(response));
  }

  void failActive(const std::string& reason) {
    while (!active_.empty()) {
      auto node = active_.extract(active_.begin());
      curl_multi_remove_handle(multi_.get(), node.key());
      fail(std::move(node.mapped()->job), reason);
    }
  }

  // Logs why the job failed and completes it with status 0.
  void fail(Job job, std::string reason) const {
    logLine(options_.logPrefix + ": HTTP " + job.request.method + " " + logTarget(job.request.url) +
            " failed: " + reason);
    HttpResponse response;
    response.error = std::move(reason);
    job.completion(std::move(response));
  }

  const CurlHttpOptions options_;
  const CurlMulti multi_;
  std::mutex mutex_;
  std::condition_variable workArrived_;  // after the multi handle failed
  std::vector<Job> queued_;              // guarded by mutex_
  bool stopping_ = false;                // guarded by mutex_
  std::optional<Clock::time_point> drainUntil_;  // guarded by mutex_
  // Transfers added to multi_; touched by the network thread only.
  std::unordered_map<CURL*, std::unique_ptr<Transfer>> active_;
};

CurlHttpClient::CurlHttpClient(CurlHttpOptions options)
    : engine_(std::make_shared<Engine>(std::move(options))),
      thread_([engine = engine_] { engine->run(); }),
      networkThreadId_(thread_.get_id()) {}

CurlHttpClient::~CurlHttpClient() {
  if (std::this_thread::get_id() == networkThreadId_) {
    // Cannot join itself: the thread finishes the stop once this completion
    // returns, holding its own reference to the engine.
    engine_->requestStop();
    thread_.detach();
    return;
  }
  stop();
}

void CurlHttpClient::send(HttpRequest request, Completion completion) {
  engine_->submit(std::move(request), std::move(completion));
}

void CurlHttpClient::stop() {
  engine_->requestStop();
  joinNetworkThread();
}

void CurlHttpClient::drain(double graceSeconds) {
  // A day stands for any longer grace; NaN and negatives for none.
  const double grace = graceSeconds > 0 ? std::min(graceSeconds, 86400.0) : 0;
  engine_->requestDrain(std::chrono::steady_clock::now() +
                        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(grace)));
  joinNetworkThread();
}

void CurlHttpClient::joinNetworkThread() {
  if (std::this_thread::get_id() == networkThreadId_) return;
  std::call_once(joined_, [this] { thread_.join(); });
}

std::shared_ptr<HttpClient> makeCurlHttpClient(const Config& config) {
  CurlHttpOptions options;
  options.verifyServerCertificate = config.verifyServerCertificate;
  options.caFile = config.caFile;
  options.logPrefix = config.logPrefix;
  return std::make_shared<CurlHttpClient>(std::move(options));
}

}  // namespace orvanta
