#include "management/device_watch.h"

#include <utility>

namespace ia {

DeviceWatch::DeviceWatch(std::function<void()> changed)
    : changed_(std::move(changed)), thread_([this] {
          while (events_.wait()) {
              const auto change = events_.take();
              if (change.lost || !change.links.empty()) changed_();
          }
      }) {}

DeviceWatch::~DeviceWatch() {
    events_.stop();
    thread_.join();
}

std::set<std::string> present_devices() {
    std::set<std::string> names;
    for (const node::Link &link : node::list_links()) names.insert(link.name);
    return names;
}

}  // namespace ia
