#include "devserver/dev_server.h"

#include <algorithm>
#include <iostream>

#include "devserver/control_routes.h"

namespace orvanta::devserver {

DevServer::DevServer(DevServerOptions options)
    : options_(std::move(options)),
      store_(options_.db_path),
      site_context_{store_, faults_, options_.rules_dir, down_, options_.rules_delay} {
  {
    std::lock_guard lock(mutex_);
    bringUpLocked();
  }
  port_ = site_->port();
  control_ = std::make_unique<Listener>(makeControlServer(*this), options_.host,
                                        options_.control_port);
  control(options_.initial_faults);  // cannot fail: the site is up, so nothing rebinds
  up_timer_ = std::thread([this] { superviseUpTimer(); });
}

DevServer::~DevServer() {
  control_.reset();  // no control call runs past this point
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  up_timer_.join();
  faults_.shutdown();
  std::unique_ptr<Listener> site;
  std::vector<std::unique_ptr<Listener>> closed;
  {
    std::lock_guard lock(mutex_);
    site = std::move(site_);
    closed = std::move(closed_);
  }
  // Destroyed here, outside the lock: each waits for its requests in flight.
}

int DevServer::controlPort() const { return control_->port(); }

std::string DevServer::pageUrl() const {
  return "http://" + options_.host + ":" + std::to_string(port_) + "/";
}

std::string DevServer::trackingBase() const { return pageUrl() + "track/"; }

std::string DevServer::rulesBase() const { return pageUrl() + "rules/"; }

std::string DevServer::controlUrl() const {
  return "http://" + options_.host + ":" + std::to_string(controlPort()) + "/control";
}

Json DevServer::addresses() const {
  return {{"tracking", trackingBase()},
          {"rules", rulesBase()},
          {"control", controlUrl()},
          {"page", pageUrl()}};
}

Json DevServer::control(const ControlRequest& request) {
  faults_.apply(request);
  {
    std::lock_guard lock(mutex_);
    if (request.clear || request.up) {
      up_at_.reset();
      bringUpLocked();
    }
    if (request.down) {
      up_at_.reset();
      bringDownLocked();
    }
    if (request.down_for) {
      up_at_ = Clock::now() + *request.down_for;
      bringDownLocked();
    }
  }
  wake_.notify_all();
  return controlState();
}

Json DevServer::controlState() const {
  Json state = faults_.state();
  std::lock_guard lock(mutex_);
  state["down"] = site_ == nullptr;
  state["up_in_ms"] = up_at_ ? Json(std::chrono::ceil<std::chrono::milliseconds>(
                                        std::max(*up_at_ - Clock::now(), Clock::duration::zero()))
                                        .count())
                             : Json();
  return state;
}

void DevServer::bringUpLocked() {
  if (site_) return;
  site_ = std::make_unique<Listener>(makeSiteServer(site_context_), options_.host,
                                     port_ != 0 ? port_ : options_.port);
  down_ = false;
}

void DevServer::bringDownLocked() {
  down_ = true;
  if (!site_) return;
  site_->close();
  closed_.push_back(std::move(site_));
}

void DevServer::superviseUpTimer() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    if (!up_at_) {
      wake_.wait(lock);
      continue;
    }
    Clock::time_point deadline = *up_at_;  // up_at_ may change while waiting
    wake_.wait_until(lock, deadline);
    if (stopping_ || !up_at_ || Clock::now() < *up_at_) continue;
    up_at_.reset();
    try {
      bringUpLocked();
    } catch (const std::exception& error) {
      std::cerr << "orvanta-devserver: cannot come back up: " << error.what() << std::endl;
    }
  }
}

}  // namespace orvanta::devserver
