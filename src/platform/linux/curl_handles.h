// Owning holders for libcurl's C handles: each releases its handle exactly
// once, with the matching libcurl function. Move-only, like std::unique_ptr.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <string>

namespace orvanta {

struct CurlEasyCleanup {
  void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
};
struct CurlMultiCleanup {
  void operator()(CURLM* handle) const noexcept { curl_multi_cleanup(handle); }
};
struct CurlUrlCleanup {
  void operator()(CURLU* handle) const noexcept { curl_url_cleanup(handle); }
};
struct CurlFree {
  void operator()(char* text) const noexcept { curl_free(text); }
};

// A transfer. Must be removed from any multi handle before it is released.
using CurlEasy = std::unique_ptr<CURL, CurlEasyCleanup>;
// A set of transfers driven together; releasing it does not release them.
using CurlMulti = std::unique_ptr<CURLM, CurlMultiCleanup>;
// A parsed URL.
using CurlUrl = std::unique_ptr<CURLU, CurlUrlCleanup>;
// A string that libcurl allocated for the caller.
using CurlString = std::unique_ptr<char, CurlFree>;

// A header list for CURLOPT_HTTPHEADER. libcurl reads it while the transfer
// runs, so it must outlive the transfer it is set on.
class CurlHeaderList {
 public:
  // Adds one line ("Name: value", "Name;" or "Name:"). False when libcurl
  // could not allocate it; the list is unchanged then.
  bool append(const std::string& line) {
    curl_slist* head = curl_slist_append(head_.get(), line.c_str());
    if (head == nullptr) return false;
    static_cast<void>(head_.release());  // the same list, now one longer
    head_.reset(head);
    return true;
  }
  curl_slist* get() const { return head_.get(); }

 private:
  struct FreeAll {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
  };
  std::unique_ptr<curl_slist, FreeAll> head_;
};

}  // namespace orvanta
