// Headless OpenGL through EGL_PLATFORM_SURFACELESS_MESA (llvmpipe on machines
// without a GPU).
#include "render/EglContext.h"

#include <epoxy/egl.h>

#include <string>

namespace comms {

std::unique_ptr<cEglContext> cEglContext::Create(int width, int height, std::string* why) {
  auto fail = [why](const char* reason) -> std::unique_ptr<cEglContext> {
    if (why) *why = reason;
    return nullptr;
  };
  if (!epoxy_has_egl()) return fail("no EGL library");
  const char* ext = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
  if (!ext || std::string(ext).find("EGL_MESA_platform_surfaceless") == std::string::npos)
    return fail("EGL has no surfaceless platform (Mesa needed)");
  EGLDisplay dpy = eglGetPlatformDisplayEXT(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
  if (dpy == EGL_NO_DISPLAY) return fail("eglGetPlatformDisplayEXT failed");
  EGLint major = 0, minor = 0;
  if (!eglInitialize(dpy, &major, &minor)) return fail("eglInitialize failed");
  if (!eglBindAPI(EGL_OPENGL_API)) {
    eglTerminate(dpy);
    return fail("eglBindAPI(EGL_OPENGL_API) failed");
  }
  const EGLint configAttribs[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
  EGLConfig config = nullptr;
  EGLint count = 0;
  eglChooseConfig(dpy, configAttribs, &config, 1, &count);
  const EGLint contextAttribs[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, 3,
                                   EGL_CONTEXT_OPENGL_PROFILE_MASK, EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};
  // Surfaceless contexts may come without a config (EGL_KHR_no_config_context).
  EGLContext ctx = eglCreateContext(dpy, count > 0 ? config : EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, contextAttribs);
  if (ctx == EGL_NO_CONTEXT) {
    eglTerminate(dpy);
    return fail("eglCreateContext for OpenGL 3.3 core failed");
  }
  std::unique_ptr<cEglContext> c(new cEglContext);
  c->display_ = dpy;
  c->context_ = ctx;
  c->width_ = width;
  c->height_ = height;
  if (!c->MakeCurrent()) return fail("eglMakeCurrent failed");
  return c;
}

cEglContext::~cEglContext() {
  if (display_) {
    eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    if (context_) eglDestroyContext(display_, context_);
    eglTerminate(display_);
  }
}

bool cEglContext::MakeCurrent() {
  return eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, (EGLContext)context_) == EGL_TRUE;
}

}  // namespace comms
