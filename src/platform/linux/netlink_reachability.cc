#include "platform/linux/netlink_reachability.h"

#include <libmnl/libmnl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
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

// Asks for a dump of every entry of one kind (all families, hence a zeroed
// family header of headerSize bytes) and hands each answer to each. Answers
// false when it fails or the table changed while it was read: mnl_cb_run
// stops at the first answer the kernel marks NLM_F_DUMP_INTR, leaving the
// rest of the dump unread.
bool dump(int fd, std::uint16_t type, std::size_t headerSize, std::uint32_t seq, mnl_cb_t each, void* data) {
  std::vector<char> buffer(kReceiveBuffer);
  nlmsghdr* request = mnl_nlmsg_put_header(buffer.data());
  request->nlmsg_type = type;
  request->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request->nlmsg_seq = seq;
  mnl_nlmsg_put_extra_header(request, headerSize);
  // Sent with no address, a netlink message goes to the kernel.
  if (::send(fd, request, request->nlmsg_len, 0) < 0) return false;
  for (;;) {
    const ssize_t got = ::recv(fd, buffer.data(), buffer.size(), 0);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    const int status = mnl_cb_run(buffer.data(), static_cast<std::size_t>(got), seq, 0, each, data);
    if (status <= MNL_CB_STOP) return status == MNL_CB_STOP;
  }
}

// The attributes of h that follow its family header, by type; the types
// read here are all below RTA_TABLE + 1, the others are left out.
using Attributes = std::array<const nlattr*, RTA_TABLE + 1>;

Attributes attributesOf(const nlmsghdr* h, std::size_t headerSize) {
  Attributes attributes{};
  mnl_attr_parse(h, static_cast<unsigned>(headerSize), [](const nlattr* a, void* table) {
    auto& attributes = *static_cast<Attributes*>(table);
    if (mnl_attr_get_type(a) < attributes.size()) attributes[mnl_attr_get_type(a)] = a;
    return MNL_CB_OK;
  }, &attributes);
  return attributes;
}

struct Link {
  unsigned flags = 0;
  std::string name;
};

int readLink(const nlmsghdr* h, void* links) {
  if (h->nlmsg_type != RTM_NEWLINK) return MNL_CB_OK;
  const auto* info = static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(h));
  const nlattr* name = attributesOf(h, sizeof *info)[IFLA_IFNAME];
  (*static_cast<std::map<int, Link>*>(links))[info->ifi_index] = {info->ifi_flags, name ? mnl_attr_get_str(name) : ""};
  return MNL_CB_OK;
}

// Adds the output interfaces of h to the vector at out when h is a usable
// default route of the main table.
int readDefaultRoute(const nlmsghdr* h, void* out) {
  if (h->nlmsg_type != RTM_NEWROUTE) return MNL_CB_OK;
  const auto* route = static_cast<const rtmsg*>(mnl_nlmsg_get_payload(h));
  if (route->rtm_family != AF_INET && route->rtm_family != AF_INET6) return MNL_CB_OK;
  if (route->rtm_dst_len != 0 || route->rtm_type != RTN_UNICAST) return MNL_CB_OK;
  if ((route->rtm_flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN)) != 0) return MNL_CB_OK;
  const Attributes attributes = attributesOf(h, sizeof *route);
  // rtm_table holds only tables below 256; RTA_TABLE holds any.
  const nlattr* table = attributes[RTA_TABLE];
  if ((table ? mnl_attr_get_u32(table) : route->rtm_table) != RT_TABLE_MAIN) return MNL_CB_OK;
  auto& interfaces = *static_cast<std::vector<int>*>(out);
  if (const nlattr* oif = attributes[RTA_OIF]) interfaces.push_back(static_cast<int>(mnl_attr_get_u32(oif)));
  if (const nlattr* multipath = attributes[RTA_MULTIPATH]) {
    // The next hops are no netlink attributes, so libmnl does not walk them.
    auto* hop = static_cast<const rtnexthop*>(mnl_attr_get_payload(multipath));
    int left = mnl_attr_get_payload_len(multipath);
    for (; RTNH_OK(hop, left); left -= static_cast<int>(RTNH_ALIGN(hop->rtnh_len)), hop = RTNH_NEXT(hop)) {
      if ((hop->rtnh_flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN)) == 0) interfaces.push_back(hop->rtnh_ifindex);
    }
  }
  return MNL_CB_OK;
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
  std::uint32_t seq = 0;
  for (int attempt = 0; attempt < kDumpAttempts; ++attempt) {
    // A socket per attempt: what is left unread of a failed dump goes with it.
    UniqueFd fd = openRouteSocket(0);
    if (!fd) {
      logErrno("socket");
      return std::nullopt;
    }
    std::map<int, Link> links;
    std::vector<int> defaultInterfaces;
    if (dump(fd.get(), RTM_GETLINK, sizeof(ifinfomsg), ++seq, readLink, &links) &&
        dump(fd.get(), RTM_GETROUTE, sizeof(rtmsg), ++seq, readDefaultRoute, &defaultInterfaces)) {
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
