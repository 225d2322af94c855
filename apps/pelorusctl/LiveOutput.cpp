#include "LiveOutput.h"

#include <csignal>
#include <cstdio>

#include <glib-unix.h>

LiveOutput::LiveOutput(std::uint64_t count)
    : m_signals{g_unix_signal_add(SIGINT, OnInterrupted, this),
                g_unix_signal_add(SIGTERM, OnInterrupted, this)},
      m_count(count) {
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

LiveOutput::~LiveOutput() {
  for (const guint signal : m_signals) {
    g_source_remove(signal);
  }
  g_main_loop_unref(m_loop);
}

void LiveOutput::Print(const std::string& line) {
  if (m_ended) {
    return;
  }
  std::puts(line.c_str());
  if ((m_count != 0 && ++m_printed == m_count) || std::ferror(stdout) != 0) {
    End();
  }
}

void LiveOutput::Run() {
  if (!m_ended) {
    g_main_loop_run(m_loop);
  }
}

void LiveOutput::End() {
  m_ended = true;
  g_main_loop_quit(m_loop);
}

gboolean LiveOutput::OnInterrupted(gpointer self) {
  static_cast<LiveOutput*>(self)->End();
  return G_SOURCE_CONTINUE;
}
