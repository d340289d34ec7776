// Xvfb, XTest and child processes for the window tests; see XServer.h.
#include "XServer.h"

#include <X11/Xlib.h>
#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

namespace {
double Now() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// The program's arguments and environment as exec wants them.
std::vector<char*> Pointers(std::vector<std::string>& list) {
  std::vector<char*> p;
  for (std::string& s : list) p.push_back(s.data());
  p.push_back(nullptr);
  return p;
}

int IgnoreXErrors(Display*, XErrorEvent*) { return 0; }
}  // namespace

void SleepMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

XServer::XServer(int width, int height) {
  int fds[2];
  if (pipe(fds) != 0) {
    error_ = "no pipe";
    return;
  }
  pid_ = fork();
  if (pid_ == 0) {
    close(fds[0]);
    const std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
    const std::string fd = std::to_string(fds[1]);
    int null = open("/dev/null", O_WRONLY);
    dup2(null, 1);
    dup2(null, 2);
    execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", screen.c_str(), "-nolisten", "tcp", "-ac",
           (char*)nullptr);
    _exit(127);
  }
  close(fds[1]);
  // Xvfb writes the display number it took once it is ready.
  std::string number;
  pollfd p{fds[0], POLLIN, 0};
  const double end = Now() + 20;
  while (Now() < end && poll(&p, 1, 200) >= 0) {
    char c;
    if (!(p.revents & (POLLIN | POLLHUP))) continue;
    if (read(fds[0], &c, 1) != 1 || c == '\n') break;
    number += c;
  }
  close(fds[0]);
  if (number.empty()) {
    error_ = "Xvfb did not start (is it installed? scripts/deps.sh installs it)";
    return;
  }
  name_ = ":" + number;
  display_ = XOpenDisplay(name_.c_str());
  if (!display_) error_ = "cannot open " + name_;
  XSetErrorHandler(IgnoreXErrors);
}

XServer::~XServer() {
  if (display_) XCloseDisplay(display_);
  if (pid_ > 0) {
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
  }
}

XWindow XServer::WaitForWindow(const std::string& title, double seconds) {
  const double end = Now() + seconds;
  while (Now() < end) {
    Window root = DefaultRootWindow(display_), parent, *children = nullptr;
    unsigned count = 0;
    if (XQueryTree(display_, root, &root, &parent, &children, &count)) {
      Window found = 0;
      for (unsigned i = 0; i < count && !found; ++i) {
        char* name = nullptr;
        XWindowAttributes a;
        if (XFetchName(display_, children[i], &name) && name) {
          if (title == name && XGetWindowAttributes(display_, children[i], &a) && a.map_state == IsViewable)
            found = children[i];
          XFree(name);
        }
      }
      if (children) XFree(children);
      if (found) return found;
    }
    SleepMs(100);
  }
  return 0;
}

void XServer::Origin(XWindow w, int& x, int& y) {
  Window child;
  XTranslateCoordinates(display_, w, DefaultRootWindow(display_), 0, 0, &x, &y, &child);
}

void XServer::MoveTo(XWindow w, int x, int y) {
  int ox = 0, oy = 0;
  Origin(w, ox, oy);
  XTestFakeMotionEvent(display_, -1, ox + x, oy + y, CurrentTime);
  XFlush(display_);
  SleepMs(40);
}

void XServer::Button(int button, bool down) {
  XTestFakeButtonEvent(display_, unsigned(button), down, CurrentTime);
  XFlush(display_);
  SleepMs(60);
}

void XServer::Key(const char* name) {
  const KeyCode code = XKeysymToKeycode(display_, XStringToKeysym(name));
  XTestFakeKeyEvent(display_, code, True, CurrentTime);
  XTestFakeKeyEvent(display_, code, False, CurrentTime);
  XFlush(display_);
  SleepMs(60);
}

void XServer::Type(const std::string& text) {
  for (char c : text) {
    const std::string name(1, c);
    KeySym sym = c == '.' ? XK_period : XStringToKeysym(name.c_str());
    const KeyCode code = XKeysymToKeycode(display_, sym);
    // Quick keystrokes: no pause between the keys of a word.
    XTestFakeKeyEvent(display_, code, True, CurrentTime);
    XTestFakeKeyEvent(display_, code, False, CurrentTime);
  }
  XFlush(display_);
  SleepMs(100);
}

void XServer::Close(XWindow w) {
  XEvent e{};
  e.xclient.type = ClientMessage;
  e.xclient.window = w;
  e.xclient.message_type = XInternAtom(display_, "WM_PROTOCOLS", False);
  e.xclient.format = 32;
  e.xclient.data.l[0] = long(XInternAtom(display_, "WM_DELETE_WINDOW", False));
  e.xclient.data.l[1] = CurrentTime;
  XSendEvent(display_, w, False, NoEventMask, &e);
  XFlush(display_);
}

bool XServer::Capture(XWindow w, comms::cImage& image) {
  XWindowAttributes a;
  if (!XGetWindowAttributes(display_, w, &a)) return false;
  XImage* x = XGetImage(display_, w, 0, 0, unsigned(a.width), unsigned(a.height), AllPlanes, ZPixmap);
  if (!x) return false;
  image.Create(a.width, a.height, 3);  // RGB, one byte each
  auto channel = [](unsigned long pixel, unsigned long mask) {
    int shift = 0;
    while (mask && !(mask & 1)) mask >>= 1, ++shift;
    return uint8_t(((pixel >> shift) & mask) * 255 / (mask ? mask : 1));
  };
  for (int y = 0; y < a.height; ++y)
    for (int xx = 0; xx < a.width; ++xx) {
      const unsigned long p = XGetPixel(x, xx, y);
      uint8_t* out = image.Pixel(xx, a.height - 1 - y);  // images keep their bottom row first
      out[0] = channel(p, x->red_mask), out[1] = channel(p, x->green_mask), out[2] = channel(p, x->blue_mask);
    }
  XDestroyImage(x);
  return true;
}

Child::Child(const std::string& program, const std::vector<std::string>& args, const std::vector<std::string>& env,
             const std::string& folder) {
  std::vector<std::string> argv{program};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<std::string> envp;
  for (char** e = environ; *e; ++e) {
    const std::string var = *e;
    bool replaced = false;
    for (const std::string& mine : env) replaced |= var.substr(0, var.find('=')) == mine.substr(0, mine.find('='));
    if (!replaced) envp.push_back(var);
  }
  envp.insert(envp.end(), env.begin(), env.end());
  pid_ = fork();
  if (pid_ == 0) {
    if (chdir(folder.c_str()) != 0) _exit(126);
    int out = open("output.txt", O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(out, 1);
    dup2(out, 2);
    std::vector<char*> a = Pointers(argv), e = Pointers(envp);
    execve(program.c_str(), a.data(), e.data());
    _exit(127);
  }
}

Child::~Child() {
  if (pid_ > 0 && !ended_) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
}

bool Child::Running() {
  if (ended_ || pid_ <= 0) return false;
  if (waitpid(pid_, &status_, WNOHANG) == pid_) ended_ = true;
  return !ended_;
}

int Child::Wait(double seconds) {
  const double end = Now() + seconds;
  while (Running() && Now() < end) SleepMs(50);
  if (!ended_) {
    kill(pid_, SIGKILL);
    waitpid(pid_, &status_, 0);
    ended_ = true;
    return -1;
  }
  return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
}

bool WaitForText(const std::string& file, const std::string& text, double seconds) {
  const double end = Now() + seconds;
  do {
    std::ifstream in(file);
    std::stringstream s;
    s << in.rdbuf();
    if (s.str().find(text) != std::string::npos) return true;
    SleepMs(100);
  } while (Now() < end);
  return false;
}
