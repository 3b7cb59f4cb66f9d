// What the rules of a state have in common stands in memory once: names, which recur in every
// document and often in every policy, and values that never change once they are read, such as the
// ports that a rule asks for. A thread keeps the latest of either while it reads.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "orb/Arena.h"
#include "orb/Name.h"
#include "orb/Ptr.h"
#include "state/Node.h"

namespace StateDirectory {

class Shared {
  public:
    // Has the calling thread share what it reads, for its own life. Within another one it does
    // nothing.
    class Scope {
      public:
        Scope();
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

      private:
        std::unique_ptr<Shared> shared_;  // null within another one
    };

    // The name of a text.
    static Orb::Name name(std::string_view text);

    // What read(node) makes of a value, or what it made of the same value before. One place in the
    // source asks for one type of objects: the place and the text tell what is the same.
    template <auto read>
    static auto value(const Node& node) {
        using Object = decltype(read(node));
        static constexpr char place = 0;
        const Reading reading(&place, node);
        if (reading.kept() == nullptr) return read(node);
        if (reading.kept()->object) {
            return Object(
                static_cast<decltype(std::declval<Object>().get())>(reading.kept()->object.get()));
        }
        Object object = read(node);
        reading.kept()->object = object;
        return object;
    }

  private:
    struct Value {
        const void* place = nullptr;
        std::string text;
        Orb::Ptr<const Orb::PtrInterface> object;  // null: it could not be read
    };

    // The look-up of a value, and its reading. Of the values within it none is looked up.
    class Reading {
      public:
        Reading(const void* place, const Node& node);
        ~Reading();
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;

        // Where it is kept or is to be; null: nowhere.
        Value* kept() const { return kept_; }

      private:
        Value* kept_ = nullptr;
    };

    // Null: the value is too large.
    Value* valueOf(const void* place, const Node& node);

    static constexpr std::size_t names = 4096;
    static constexpr std::size_t values = 256;
    static constinit thread_local Shared* current_;

    std::array<Orb::Name, names> names_;
    std::array<Value, values> values_;
    std::string text_;  // of the value that was looked up last
    bool isInValue_ = false;
};

}  // namespace StateDirectory
