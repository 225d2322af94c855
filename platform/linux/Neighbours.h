#pragma once

#include <memory>
#include <vector>

struct rtnl_neigh;

/// Who answers on a link, kept over a move to another radio of the same network. With the carrier the
/// kernel forgets them, and what it asks before the radio has opened the link is lost: it asks again a
/// second later, and nothing passes until then. Main-loop thread only.
class Neighbours {
 public:
  Neighbours() = default;
  /// Those whose hardware addresses the kernel knows.
  static Neighbours Of(int link_index);

  [[nodiscard]] bool IsEmpty() const { return m_known.empty(); }

  /// Has the kernel know them again. It makes sure of each when something is sent there.
  void Restore() const;

 private:
  struct Release {
    void operator()(rtnl_neigh* neighbour) const;
  };
  std::vector<std::unique_ptr<rtnl_neigh, Release>> m_known;
};
