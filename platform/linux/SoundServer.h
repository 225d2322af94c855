#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <glib.h>

#include "PathWatch.h"
#include "PulseLibrary.h"

/// The sound server (PulseAudio, or PipeWire in its place), asked for its default sink. The conversation
/// begins with the first question, and what the server tells is known from then on: the server says when
/// it changes. A server that is not there costs a watch on its socket. It is never started from here.
/// Main-loop thread only; one object for the life of the process.
class SoundServer {
 public:
  enum class Sink {
    kLocal,    ///< the machine's own
    kNetwork,  ///< speakers in the network
  };

  static SoundServer& Instance();
  SoundServer(const SoundServer&) = delete;
  SoundServer& operator=(const SoundServer&) = delete;

  /// Answers at once with what is known.
  /// @return nullopt while nothing is: no server, none that has answered yet, no sink
  std::optional<Sink> DefaultSink();

  /// Ends the conversation; the next question begins another.
  void Stop();

 private:
  /// Where a server may listen.
  struct Place {
    std::string server;  ///< as libpulse takes it
    std::string socket;  ///< empty when it is no file
  };

  SoundServer() = default;
  static std::vector<Place> Places();
  bool Begin();
  void Wait();
  void ConnectSoon();
  void Connect();
  static void OnState(pa_context* context, void* self);
  void Drop();
  static void OnEvent(pa_context* context, pa_subscription_event_type_t event, std::uint32_t index,
                      void* self);
  void Read();
  static void OnServer(pa_context* context, const pa_server_info* server, void* self);
  static void OnSink(pa_context* context, const pa_sink_info* sink, int end, void* self);
  void Learn(std::optional<Sink> sink);
  void Await(pa_operation* operation);

  const PulseLibrary* m_pulse = nullptr;  // once it is loaded, for good
  pa_glib_mainloop* m_loop = nullptr;     // between the first question and Stop()
  std::vector<Place> m_places;
  std::vector<std::unique_ptr<PathWatch>> m_watches;  // on the sockets, while no server answers
  pa_context* m_context = nullptr;                    // from an attempt to the connection's end
  pa_operation* m_operation = nullptr;                // what waits for its answer
  bool m_is_changed = false;                          // and something changed meanwhile
  std::optional<Sink> m_found;                        // by the answer that is being read
  std::optional<Sink> m_sink;
  guint m_attempt = 0;      // the timer, while an attempt is due
  unsigned m_attempts = 0;  // since a server answered, a socket changed or somebody asked
};
