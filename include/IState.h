#pragma once

class C5GhzSwitchHandler;

/// Where a move to 5 GHz stands.
enum OPERATIONSTATE : int {
  STATE_IDLE = 0,        ///< nothing is under way
  STATE_INIT = 1,        ///< looks for a similar access point, perhaps with a scan
  STATE_CONNECTING = 2,  ///< waits for the 5 GHz access point, at most 50 s
  STATE_SHOWPOPUP = 3,   ///< is there, and waits for what the user says
  STATE_ROLLBACK = 4,    ///< goes back to the original access point, at most 40 s
  STATE_ERROR = 5,       ///< could not begin; passes on to idle
  STATE_COMPLETE = 6,    ///< has come to an end, wherever; passes on to idle
};

/// Something that a state is told.
class IEvents {
 public:
  enum Kind : int {
    EVENT_START = 0,              ///< a request was accepted; true
    EVENT_SCAN_DONE = 1,          ///< a scan has ended; true
    EVENT_CONNECTION_RESULT = 2,  ///< whether a connection succeeded, of whichever request
  };

  explicit IEvents(Kind kind, bool argument) : m_kind(kind), m_argument(argument) {}
  virtual ~IEvents() = default;

  [[nodiscard]] Kind GetKind() const { return m_kind; }
  [[nodiscard]] bool GetArgument() const { return m_argument; }

 private:
  Kind m_kind;
  bool m_argument;
};

/// One state of the move to 5 GHz. Owned by the handler, which holds the current state and no other; the
/// handler's number of the state changes when the object is made. A transition that a state makes from
/// inside its own Entry() or m_OnEvent() ends the state before the call returns, so it must be the last
/// thing that the state does. Main-loop thread only.
class IState {
 public:
  /// @param handler  outlives its states
  IState(C5GhzSwitchHandler& handler, OPERATIONSTATE state);
  virtual ~IState() = default;
  IState(const IState&) = delete;
  IState& operator=(const IState&) = delete;

  /// The state is the current one from now on.
  virtual void Entry() = 0;
  /// The state is about to be ended.
  virtual void Exit() = 0;
  /// Anything may be told to any state, also the late answer to a request of a state before it.
  virtual void m_OnEvent(const IEvents& event);

 protected:
  C5GhzSwitchHandler& m_handler;
};
