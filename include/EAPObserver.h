#pragma once

/// Who hears of the end of a wired reconnection.
class CEAPObserver {
 public:
  virtual ~CEAPObserver() = default;

  /// @param status  as CEAPReconnect tells it: 1 the sequence has run, 0 it failed
  virtual void update(int status) = 0;
};
