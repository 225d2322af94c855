#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gio/gio.h>

#include "HeardRadio.h"
#include "ScanQueue.h"

/// What the supplicant hears on its interface, and scans with it: for a process that may not use the
/// driver, or has none to talk to. Main-loop thread only; one object for the life of the process,
/// because answers of the bus may still come when it is stopped.
class SupplicantAir final : public Scanner {
 public:
  /// Keeps up with the radios that the supplicant knows, as long as its object of the interface is
  /// there: to be called when that has come or gone.
  /// @param is_wanted  else nothing is asked and nothing wakes this process
  void Follow(bool is_wanted);

  /// As the supplicant knows them. The connected one has the signal of the last poll.
  [[nodiscard]] std::vector<HeardRadio> Radios() const;
  /// Polls the driver for the next question.
  void PollSignal();
  /// @return dBm, of the connected radio's channel by the last poll; nullopt when it is not known
  [[nodiscard]] std::optional<int> Noise(int frequency) const;

  void Begin(const ScanRequest& request, std::function<void(End)> ended) override;
  void Abort() override;
  void Forget() override;

 private:
  /// One of the supplicant's objects of radios. The three kinds of security are what its frames say as
  /// the supplicant reads them, in newer and in older words, and as they are read here.
  struct Bss {
    HeardRadio heard;
    bool is_private = false;
    std::optional<wifi_security_type_e> rsn, wpa;
    wifi_security_type_e security = WIFI_SECURITY_TYPE_NONE;
  };
  struct Poll {
    int signal = 0;            // dBm; 0: not known
    std::optional<int> noise;  // dBm
    int width = 0;             // MHz; 0: not known
  };

  static void Read(GVariant* properties, Bss& bss);
  void Subscribe();
  void Unfollow();
  void AskForAll();
  void AskFor(const std::string& path);
  void AskNext();
  void OnProperty(const std::string& name, GVariant* value);
  void OnRadio(const char* path, GVariant* properties);
  void OnChange(const char* path, GVariant* properties);
  static void OnSignal(GDBusConnection* connection, const char* sender, const char* path,
                       const char* interface, const char* signal, GVariant* parameters, gpointer self);
  void OnPoll(GVariant* reply);
  void OnScanDone(bool is_success);
  void Finish(End end);

  std::string m_path;  // of the interface's object; empty while nothing is followed
  GDBusConnection* m_connection = nullptr;
  GCancellable* m_questions = nullptr;  // ends those that are under way
  std::vector<guint> m_subscriptions;
  std::map<std::string, Bss> m_radios;  // by the path of their object
  std::set<std::string> m_unknown;      // the paths of those that are asked for, and of them
  std::deque<std::string> m_to_ask;     // those whose turn has not come
  int m_question_count = 0;             // under way
  std::string m_connected;              // path; "/" or empty: none
  std::optional<Poll> m_poll;           // of the connected one
  bool m_is_polling = false;
  std::function<void(End)> m_ended;  // while a scan runs
  bool m_is_accepted = false;        // the scan that runs is ours
  unsigned m_round = 0;
  guint m_settling = 0;
  int m_settling_rounds = 0;
};
