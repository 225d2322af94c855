/* Stands where a sound server stands: PulseAudio's native protocol, in a version so old that little is
 * in it, on the socket that argument 1 names. It says a line when it listens, and answers each line of
 * its standard input with one when that is done: default local|network|none which sink is the default
 * one from then on; who subscribed is told volume tells them that a sink has changed, as it does when
 * somebody turns it up answers normally|late|error|nonsense|death how it answers to questions from then
 * on; late: when it is told to answer in another way questions answers how often it was asked which sink
 * is the default one
 */
#include <glib-unix.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

enum {
  ERROR = 0,
  REPLY = 2,
  AUTH = 8,
  SET_CLIENT_NAME = 9,
  GET_SERVER_INFO = 20,
  GET_SINK_INFO = 21,
  SUBSCRIBE = 35,
  SUBSCRIBE_EVENT = 66
};
enum { VERSION = 12, NO_ENTITY = 5, IS_NETWORK = 0x8, SINK_CHANGED = 0x10, SERVER_CHANGED = 0x17 };
enum { HEADER = 20, COMMAND_AND_TAG = 10 };

static GSList* subscribers; /* descriptors */
static char answers[16] = "normally";
static char sink[16] = "local";
static int questions = 0;

/* A question that waits for its answer. */
static struct {
  int client;
  guint32 command;
  guint32 tag;
} waiting = {-1, 0, 0};

static void put_number(GByteArray* body, guint32 value) {
  const guint32 big = GUINT32_TO_BE(value);
  g_byte_array_append(body, (const guint8*)&big, sizeof big);
}

static void put_u32(GByteArray* body, guint32 value) {
  g_byte_array_append(body, (const guint8*)"L", 1);
  put_number(body, value);
}

static void put_text(GByteArray* body, const char* text) {
  if (text == NULL) {
    g_byte_array_append(body, (const guint8*)"N", 1);
    return;
  }
  g_byte_array_append(body, (const guint8*)"t", 1);
  g_byte_array_append(body, (const guint8*)text, (guint)strlen(text) + 1);
}

/* 16 bits, two channels. */
static void put_format(GByteArray* body) {
  g_byte_array_append(body, (const guint8*)"a\3\2", 3);
  put_number(body, 44100);
}

static GByteArray* new_message(guint32 command, guint32 tag) {
  GByteArray* body = g_byte_array_new();
  put_u32(body, command);
  put_u32(body, tag);
  return body;
}

static void send_and_drop(int client, GByteArray* body) {
  GByteArray* frame = g_byte_array_new();
  put_number(frame, body->len);
  put_number(frame, G_MAXUINT32);
  for (int i = 0; i < 3; ++i) {
    put_number(frame, 0);
  }
  g_byte_array_append(frame, body->data, body->len);
  if (send(client, frame->data, frame->len, MSG_NOSIGNAL) < 0) {
    perror("send");
  }
  g_byte_array_unref(frame);
  g_byte_array_unref(body);
}

static void put_server(GByteArray* body) {
  for (const char* const* text = (const char* const[]){"stub", "0", "user", "host", NULL}; *text != NULL;
       ++text) {
    put_text(body, *text);
  }
  put_format(body);
  put_text(body, strcmp(sink, "none") == 0 ? NULL : sink);
  put_text(body, NULL);
  put_u32(body, 1);
}

static void put_sink(GByteArray* body) {
  put_u32(body, 0);
  put_text(body, sink);
  put_text(body, "a sink");
  put_format(body);
  g_byte_array_append(body, (const guint8*)"m\2\1\2", 4);
  put_u32(body, G_MAXUINT32);
  g_byte_array_append(body, (const guint8*)"v\2", 2);
  put_number(body, 0x10000);
  put_number(body, 0x10000);
  g_byte_array_append(body, (const guint8*)"0", 1);
  put_u32(body, G_MAXUINT32);
  put_text(body, NULL);
  g_byte_array_append(body, (const guint8*)"U\0\0\0\0\0\0\0\0", 9);
  put_text(body, "stub");
  put_u32(body, strcmp(sink, "network") == 0 ? IS_NETWORK : 0);
}

static void answer_question(int client, guint32 command, guint32 tag) {
  if (strcmp(answers, "death") == 0) {
    _exit(1);
  }
  if (strcmp(answers, "late") == 0) {
    waiting.client = client;
    waiting.command = command;
    waiting.tag = tag;
    return;
  }
  const gboolean is_error = strcmp(answers, "error") == 0;
  GByteArray* body = new_message(is_error ? ERROR : REPLY, tag);
  if (is_error) {
    put_u32(body, NO_ENTITY);
  } else if (strcmp(answers, "nonsense") == 0) {
    put_u32(body, 0xdeadbeef);
  } else if (command == GET_SERVER_INFO) {
    put_server(body);
  } else {
    put_sink(body);
  }
  send_and_drop(client, body);
}

static void answer(int client, guint32 command, guint32 tag) {
  if (command == GET_SERVER_INFO || command == GET_SINK_INFO) {
    questions += command == GET_SERVER_INFO;
    answer_question(client, command, tag);
    return;
  }
  GByteArray* body = new_message(REPLY, tag);
  if (command == AUTH) {
    put_u32(body, VERSION);
  } else if (command == SUBSCRIBE) {
    subscribers = g_slist_prepend(subscribers, GINT_TO_POINTER(client));
  }
  send_and_drop(client, body);
}

static guint32 number_at(const guint8* data) {
  guint32 big = 0;
  memcpy(&big, data, sizeof big);
  return GUINT32_FROM_BE(big);
}

static gboolean on_client(gint client, GIOCondition condition, gpointer user_data) {
  GByteArray* received = user_data;
  guint8 buffer[4096];
  const ssize_t length = read(client, buffer, sizeof buffer);
  (void)condition;
  if (length <= 0) {
    subscribers = g_slist_remove(subscribers, GINT_TO_POINTER(client));
    g_byte_array_unref(received);
    close(client);
    return G_SOURCE_REMOVE;
  }
  g_byte_array_append(received, buffer, (guint)length);
  while (received->len >= HEADER && received->len >= HEADER + number_at(received->data)) {
    const guint32 size = number_at(received->data);
    if (size >= COMMAND_AND_TAG) {
      answer(client, number_at(received->data + HEADER + 1), number_at(received->data + HEADER + 6));
    }
    g_byte_array_remove_range(received, 0, HEADER + size);
  }
  return G_SOURCE_CONTINUE;
}

static gboolean on_connection(gint listener, GIOCondition condition, gpointer user_data) {
  const int client = accept(listener, NULL, NULL);
  (void)condition;
  (void)user_data;
  if (client >= 0) {
    g_unix_fd_add(client, G_IO_IN | G_IO_HUP, on_client, g_byte_array_new());
  }
  return G_SOURCE_CONTINUE;
}

static void tell_subscribers(guint32 event) {
  for (const GSList* client = subscribers; client != NULL; client = client->next) {
    GByteArray* body = new_message(SUBSCRIBE_EVENT, G_MAXUINT32);
    put_u32(body, event);
    put_u32(body, 0);
    send_and_drop(GPOINTER_TO_INT(client->data), body);
  }
}

static gboolean on_command(gint fd, GIOCondition condition, gpointer user_data) {
  char line[64];
  const ssize_t length = read(fd, line, sizeof line - 1);
  (void)condition;
  (void)user_data;
  if (length <= 0) {
    _exit(0);
  }
  line[length] = '\0';
  char** words = g_strsplit(g_strstrip(line), " ", 2);
  int result = 0;
  if (strcmp(words[0], "default") == 0) {
    g_strlcpy(sink, words[1], sizeof sink);
    tell_subscribers(SERVER_CHANGED);
  } else if (strcmp(words[0], "volume") == 0) {
    tell_subscribers(SINK_CHANGED);
  } else if (strcmp(words[0], "answers") == 0) {
    g_strlcpy(answers, words[1], sizeof answers);
    if (waiting.client >= 0) {
      answer_question(waiting.client, waiting.command, waiting.tag);
      waiting.client = -1;
    }
  } else if (strcmp(words[0], "questions") == 0) {
    result = questions;
  }
  printf("%d\n", result);
  fflush(stdout);
  g_strfreev(words);
  return G_SOURCE_CONTINUE;
}

int main(int argc, char** argv) {
  struct sockaddr_un address = {.sun_family = AF_UNIX};
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (argc != 2) {
    return 2;
  }
  g_strlcpy(address.sun_path, argv[1], sizeof address.sun_path);
  unlink(address.sun_path);
  if (bind(listener, (struct sockaddr*)&address, sizeof address) != 0 ||
      chmod(address.sun_path, 0777) != 0) {
    perror(address.sun_path);
    return 1;
  }
  usleep(20000); /* a file, and nobody behind it yet: a server's first moments */
  listen(listener, 8);
  g_unix_fd_add(listener, G_IO_IN, on_connection, NULL);
  g_unix_fd_add(STDIN_FILENO, G_IO_IN | G_IO_HUP, on_command, NULL);
  puts("listening");
  fflush(stdout);
  g_main_loop_run(g_main_loop_new(NULL, FALSE));
  return 0;
}
