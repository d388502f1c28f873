// A business-logic entity: what the framework starts, stops and configures.
#pragma once

#include <boost/shared_ptr.hpp>
#include <list>
#include <string>
#include <utility>

#pragma GCC visibility push(default)

namespace Storage {

// One setting of a stored configuration. The framework hands it through.
class Setting;

// Base class of everything that a stored configuration can hold.
class StorageItem {
protected:
    StorageItem() = default;
    ~StorageItem() = default;
};

}  // namespace Storage

// The order of the virtual operations is part of the interface.
class BLEntity : public Storage::StorageItem {
public:
    virtual void applyConfiguration(boost::shared_ptr<Storage::Setting> setting) = 0;
    virtual void saveConfiguration(boost::shared_ptr<Storage::Setting> setting) const = 0;
    virtual bool start() = 0;
    virtual bool applyDefaultSettings() = 0;
    virtual bool stop() = 0;
    // Fills the list with the names of the entities to be started earlier.
    virtual void getDependencies(std::list<std::string> &names) = 0;
    virtual ~BLEntity() = default;

    const std::string &entityName() const { return entity_name_; }

protected:
    explicit BLEntity(std::string entity_name) : entity_name_(std::move(entity_name)) {}

private:
    std::string entity_name_;
};

#pragma GCC visibility pop
