#pragma once

#include <functional>
#include <memory>

#include <linux/netlink.h>

/// What the kernel tells of links, addresses and routes, for one listener. All listeners share one
/// socket: the kernel would serve each further one, and the main loop look at it, before a pulled cable
/// is acted on. Who listens does so first and looks at the kernel's tables then, so that nothing that
/// happens in between is missed. Main-loop thread only.
class KernelEvents {
 public:
  using MessageHandler = std::function<void(const nlmsghdr* message)>;
  using LossHandler = std::function<void()>;

  /// Who hears of a message before others do.
  enum class Turn { kFirst, kLater };

  /// @param on_message  called once for each message, of whatever type, in the kernel's order: for those
  ///                    that come from now on, and for those that the main loop has not told the others
  ///                    yet. It may end this and other listeners
  /// @param on_loss     called when the kernel had to drop messages, after the last one before the gap:
  ///                    the moment to look at the tables again. It may end listeners as well
  /// @return null when the kernel refuses; logged
  static std::unique_ptr<KernelEvents> Listen(Turn turn, MessageHandler on_message, LossHandler on_loss);
  ~KernelEvents();
  KernelEvents(const KernelEvents&) = delete;
  KernelEvents& operator=(const KernelEvents&) = delete;

  /// Tells all listeners now what came and the main loop has not told yet.
  /// @return whether anything came
  bool CatchUp();

 private:
  class Socket;
  explicit KernelEvents(std::shared_ptr<Socket> socket) : m_socket(std::move(socket)) {}

  const std::shared_ptr<Socket> m_socket;
};
