// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <iterator>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace quorvel::home {

// Things by id, kept in the order in which they came: lists read the same every time, and finding,
// adding and removing cost the same in a home of ten devices and of ten thousand. Elements never move.
template <typename T>
class Table {
public:
    T* find(std::string_view id)
    {
        const auto found = index_.find(id);
        return found == index_.end() ? nullptr : &*found->second;
    }
    const T* find(std::string_view id) const
    {
        const auto found = index_.find(id);
        return found == index_.end() ? nullptr : &*found->second;
    }
    bool contains(std::string_view id) const { return index_.contains(id); }
    // The id must not be taken.
    T& add(T item)
    {
        items_.push_back(std::move(item));
        const auto place = std::prev(items_.end());
        index_.emplace(std::string_view{place->id}, place);
        return *place;
    }
    bool remove(std::string_view id)
    {
        const auto found = index_.find(id);
        if (found == index_.end())
            return false;
        const auto place = found->second;
        index_.erase(found);
        items_.erase(place);
        return true;
    }
    void clear()
    {
        index_.clear();
        items_.clear();
    }
    std::size_t size() const { return items_.size(); }
    bool empty() const { return items_.empty(); }
    auto begin() { return items_.begin(); }
    auto end() { return items_.end(); }
    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }
    T& front() { return items_.front(); }
    const T& front() const { return items_.front(); }

private:
    std::list<T> items_;
    std::unordered_map<std::string_view, typename std::list<T>::iterator> index_;
};

}  // namespace quorvel::home
