#include "management/device_watch.h"

#include <sys/epoll.h>

namespace ia {

DeviceWatch::DeviceWatch(EventLoop &loop, std::function<void()> changed)
    : source_(loop, events_.descriptor(), EPOLLIN, [this, changed] {
          const auto change = events_.take();
          if (change.lost || !change.links.empty()) changed();
      }) {}

std::set<std::string> present_devices() {
    std::set<std::string> names;
    for (const node::Link &link : node::list_links()) names.insert(link.name);
    return names;
}

}  // namespace ia
