#include "platform/linux/netlink_reachability.h"

#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "orvanta/log.h"

namespace orvanta {
namespace {

using Clock = std::chrono::steady_clock;

// Large enough for one message of any dump (the kernel fills at most 32 KiB).
constexpr std::size_t kReceiveBuffer = 64 * 1024;
// A dump that changed while it was read is read again, a few times.
constexpr int kDumpAttempts = 4;

void logErrno(const char* what) { logLine(std::string("netlink reachability: ") + what + ": " + std::strerror(errno)); }

UniqueFd openRouteSocket(std::uint32_t groups) {
  UniqueFd fd(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
  if (!fd) return fd;
  sockaddr_nl local{};
  local.nl_family = AF_NETLINK;
  local.nl_groups = groups;
  if (::bind(fd.get(), reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) fd.reset();
  return fd;
}

// Asks for a dump of every entry of one kind (all families) and hands each
// answer to each. Answers false when it fails or the table changed while it
// was read.
template <typename Header>
bool dump(int fd, std::uint16_t type, std::uint32_t seq, const std::function<void(const nlmsghdr&)>& each) {
  struct {
    nlmsghdr header;
    Header body;
  } request{};
  request.header.nlmsg_len = NLMSG_LENGTH(sizeof(Header));
  request.header.nlmsg_type = type;
  request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.header.nlmsg_seq = seq;
  sockaddr_nl kernel{};
  kernel.nl_family = AF_NETLINK;
  if (::sendto(fd, &request, request.header.nlmsg_len, 0, reinterpret_cast<sockaddr*>(&kernel), sizeof kernel) < 0) {
    return false;
  }
  std::vector<char> buffer(kReceiveBuffer);
  bool consistent = true;
  for (;;) {
    const ssize_t got = ::recv(fd, buffer.data(), buffer.size(), 0);
    if (got < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    auto length = static_cast<unsigned>(got);
    for (auto* h = reinterpret_cast<const nlmsghdr*>(buffer.data()); NLMSG_OK(h, length); h = NLMSG_NEXT(h, length)) {
      if (h->nlmsg_seq != seq) continue;
      if (h->nlmsg_type == NLMSG_DONE) return consistent;
      if (h->nlmsg_type == NLMSG_ERROR) return false;
      if ((h->nlmsg_flags & NLM_F_DUMP_INTR) != 0) consistent = false;
      each(*h);
    }
  }
}

struct Link {
  unsigned flags = 0;
  std::string name;
};

void readLink(const nlmsghdr& h, std::map<int, Link>* links) {
  if (h.nlmsg_type != RTM_NEWLINK) return;
  const auto* info = static_cast<const ifinfomsg*>(NLMSG_DATA(&h));
  Link link{info->ifi_flags, {}};
  int length = static_cast<int>(IFLA_PAYLOAD(&h));
  for (auto* a = IFLA_RTA(info); RTA_OK(a, length); a = RTA_NEXT(a, length)) {
    if (a->rta_type == IFLA_IFNAME) link.name = static_cast<const char*>(RTA_DATA(a));
  }
  (*links)[info->ifi_index] = std::move(link);
}

// Adds the output interfaces of h to out when h is a usable default route of
// the main table.
void readDefaultRoute(const nlmsghdr& h, std::vector<int>* out) {
  if (h.nlmsg_type != RTM_NEWROUTE) return;
  const auto* route = static_cast<const rtmsg*>(NLMSG_DATA(&h));
  if (route->rtm_family != AF_INET && route->rtm_family != AF_INET6) return;
  if (route->rtm_dst_len != 0 || route->rtm_type != RTN_UNICAST) return;
  if ((route->rtm_flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN)) != 0) return;
  std::uint32_t table = route->rtm_table;
  std::vector<int> interfaces;
  int length = static_cast<int>(RTM_PAYLOAD(&h));
  for (auto* a = RTM_RTA(route); RTA_OK(a, length); a = RTA_NEXT(a, length)) {
    if (a->rta_type == RTA_TABLE) {
      std::memcpy(&table, RTA_DATA(a), sizeof table);
    } else if (a->rta_type == RTA_OIF) {
      int index;
      std::memcpy(&index, RTA_DATA(a), sizeof index);
      interfaces.push_back(index);
    } else if (a->rta_type == RTA_MULTIPATH) {
      auto* hop = static_cast<const rtnexthop*>(RTA_DATA(a));
      int left = static_cast<int>(RTA_PAYLOAD(a));
      for (; RTNH_OK(hop, left); left -= static_cast<int>(RTNH_ALIGN(hop->rtnh_len)), hop = RTNH_NEXT(hop)) {
        if ((hop->rtnh_flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN)) == 0) interfaces.push_back(hop->rtnh_ifindex);
      }
    }
  }
  if (table == RT_TABLE_MAIN) out->insert(out->end(), interfaces.begin(), interfaces.end());
}

bool isCellular(const std::string& name) { return name.rfind("ww", 0) == 0; }

std::uint32_t flagsOf(const std::map<int, Link>& links, const std::vector<int>& defaultInterfaces) {
  bool reachable = false;
  bool cellularOnly = true;
  for (int index : defaultInterfaces) {
    auto link = links.find(index);
    if (link == links.end()) continue;
    const unsigned flags = link->second.flags;
    if ((flags & IFF_UP) == 0 || (flags & IFF_RUNNING) == 0 || (flags & IFF_LOOPBACK) != 0) continue;
    reachable = true;
    cellularOnly = cellularOnly && isCellular(link->second.name);
  }
  if (!reachable) return 0;
  return kReachabilityFlagReachable | (cellularOnly ? kReachabilityFlagIsWWAN : 0);
}

// The flags from a fresh dump of links and routes; nullopt when the kernel
// cannot be asked.
std::optional<std::uint32_t> readFlags() {
  UniqueFd fd = openRouteSocket(0);
  if (!fd) {
    logErrno("socket");
    return std::nullopt;
  }
  std::uint32_t seq = 0;
  for (int attempt = 0; attempt < kDumpAttempts; ++attempt) {
    std::map<int, Link> links;
    std::vector<int> defaultInterfaces;
    if (dump<ifinfomsg>(fd.get(), RTM_GETLINK, ++seq, [&](const nlmsghdr& h) { readLink(h, &links); }) &&
        dump<rtmsg>(fd.get(), RTM_GETROUTE, ++seq,
                    [&](const nlmsghdr& h) { readDefaultRoute(h, &defaultInterfaces); })) {
      return flagsOf(links, defaultInterfaces);
    }
  }
  logLine("netlink reachability: the routing state could not be read");
  return std::nullopt;
}

// Reads every pending event without looking at it: they only say that the
// state must be read again. Lost events (ENOBUFS) say the same.
void drain(int fd) {
  std::vector<char> buffer(kReceiveBuffer);
  for (;;) {
    const ssize_t got = ::recv(fd, buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (got >= 0 || errno == ENOBUFS || errno == EINTR) continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK) logErrno("recv");
    return;
  }
}

}  // namespace

NetlinkReachability::NetlinkReachability() : NetlinkReachability(Options{}) {}

NetlinkReachability::NetlinkReachability(Options options) : options_(options) {}

NetlinkReachability::~NetlinkReachability() { stop(); }

std::optional<std::uint32_t> NetlinkReachability::flags() const {
  {
    std::lock_guard lock(mutex_);
    if (watching_) return flags_;
  }
  return readFlags();
}

bool NetlinkReachability::start(ChangeCallback callback) {
  std::lock_guard control(control_);
  {
    std::lock_guard lock(mutex_);
    callback_ = std::move(callback);
    if (watching_) return true;
  }
  // Subscribed before the first read, so that no change falls between them.
  UniqueFd events = openRouteSocket(RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE);
  if (!events) {
    logErrno("event socket");
    return false;
  }
  if (options_.receiveBufferBytes > 0) {
    ::setsockopt(events.get(), SOL_SOCKET, SO_RCVBUF, &options_.receiveBufferBytes, sizeof options_.receiveBufferBytes);
  }
  UniqueFd wake(::eventfd(0, EFD_CLOEXEC));
  if (!wake) {
    logErrno("eventfd");
    return false;
  }
  const std::optional<std::uint32_t> initial = readFlags();
  events_ = std::move(events);
  wake_ = std::move(wake);
  {
    std::lock_guard lock(mutex_);
    flags_ = initial;
    watching_ = true;
  }
  thread_ = std::thread([this] { run(); });
  return true;
}

void NetlinkReachability::stop() {
  std::lock_guard control(control_);
  {
    std::lock_guard lock(mutex_);
    callback_ = nullptr;
    if (!watching_) return;
    watching_ = false;
  }
  const std::uint64_t one = 1;
  if (::write(wake_.get(), &one, sizeof one) < 0) logErrno("eventfd write");
  thread_.join();
  events_.reset();
  wake_.reset();
}

void NetlinkReachability::run() {
  // When the state is next to be read: once a burst of events has settled
  // (put off by maxDelay at most from its first event), or, after a read
  // that failed, once the retry interval has passed.
  bool burst = false;  // events seen since the last read, from firstEvent on
  Clock::time_point firstEvent;
  std::optional<Clock::time_point> readAt;
  for (;;) {
    int timeoutMs = -1;
    if (readAt) {
      const auto wait = std::chrono::ceil<std::chrono::milliseconds>(*readAt - Clock::now());
      timeoutMs = static_cast<int>(std::max<std::chrono::milliseconds::rep>(0, wait.count()));
    }
    pollfd fds[2] = {{events_.get(), POLLIN, 0}, {wake_.get(), POLLIN, 0}};
    if (::poll(fds, 2, timeoutMs) < 0) {
      if (errno == EINTR) continue;
      // Out of memory, say: the flags must not freeze, so read them again
      // after a pause and go on watching.
      logErrno("poll");
      std::this_thread::sleep_for(options_.retry);
      readAt = Clock::now();
      continue;
    }
    if (fds[1].revents != 0) return;
    if (fds[0].revents != 0) {
      drain(events_.get());
      const auto now = Clock::now();
      if (!burst) firstEvent = now;
      burst = true;
      readAt = std::min(now + options_.settle, firstEvent + options_.maxDelay);
    }
    // Checked even when events keep coming, so that maxDelay holds.
    if (readAt && Clock::now() >= *readAt) {
      burst = false;
      readAt.reset();
      if (!refresh()) readAt = Clock::now() + options_.retry;
    }
  }
}

bool NetlinkReachability::refresh() {
  const std::optional<std::uint32_t> now = readFlags();
  ChangeCallback callback;
  {
    std::lock_guard lock(mutex_);
    if (now == flags_) return now.has_value();
    flags_ = now;
    callback = callback_;
  }
  if (callback) callback();
  return now.has_value();
}

}  // namespace orvanta
