#pragma once

#include <algorithm>
#include <optional>
#include <vector>

#include "Link.h"

/// The wired interfaces of the machine seen as one: attached while at least one of them has a carrier.
/// Knows each interface by its index alone, so that a new name changes nothing and being told the same
/// thing twice neither. Does no I/O.
class WiredNetwork {
 public:
  /// The state that the network has passed to; nullopt when it stays in the state that it was in.
  using Transition = std::optional<bool>;

  /// An interface appeared or changed.
  Transition Update(const Link& link) {
    const bool before = IsAttached();
    std::erase(m_with_carrier, link.index);
    if (link.has_carrier && IsWired(link)) {
      m_with_carrier.push_back(link.index);
    }
    return Since(before);
  }

  /// An interface is gone.
  Transition Remove(int index) {
    const bool before = IsAttached();
    std::erase(m_with_carrier, index);
    return Since(before);
  }

  /// Takes over what a look at all interfaces found, as one step: at most one transition, however many
  /// interfaces changed.
  Transition Become(const WiredNetwork& found) {
    const bool before = IsAttached();
    m_with_carrier = found.m_with_carrier;
    return Since(before);
  }

  [[nodiscard]] bool IsAttached() const { return !m_with_carrier.empty(); }

 private:
  [[nodiscard]] Transition Since(bool before) const {
    return IsAttached() == before ? Transition() : IsAttached();
  }

  std::vector<int> m_with_carrier;  // each once
};
