#include "bench/BareGles.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl3.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace bench {

namespace {

constexpr char kPointsVertex[] = R"(#version 300 es
uniform mat4 toClip;
layout(location = 0) in vec3 position;
out vec4 colour;
void main() {
    gl_Position = toClip * vec4(position, 1.0);
    gl_PointSize = 1.0;
    colour = vec4(1.0);
}
)";

constexpr char kLitVertex[] = R"(#version 300 es
uniform mat4 toClip;
layout(location = 0) in vec3 position;
layout(location = 1) in vec3 normal;
out vec4 colour;
void main() {
    gl_Position = toClip * vec4(position, 1.0);
    vec3 n = normalize(normal);
    vec3 lamp = normalize(vec3(-2.0, -3.0, 5.0) - position);
    vec3 middle = normalize(lamp - normalize(position));
    float shine = pow(max(0.0, dot(n, middle)), 16.0);
    colour = vec4(vec3(0.15 + 0.85 * max(0.0, dot(n, lamp)) + shine), 1.0);
}
)";

constexpr char kTexturedVertex[] = R"(#version 300 es
uniform mat4 toClip;
layout(location = 0) in vec2 place;
layout(location = 1) in vec3 position;
out vec2 texel;
void main() {
    gl_Position = toClip * vec4(position, 1.0);
    texel = place;
}
)";

constexpr char kPlainFragment[] = R"(#version 300 es
precision mediump float;
in vec4 colour;
out vec4 pixel;
void main() { pixel = colour; }
)";

constexpr char kTexturedFragment[] = R"(#version 300 es
precision highp float;
uniform sampler2D image;
in vec2 texel;
out vec4 pixel;
void main() { pixel = texture(image, texel); }
)";

void Require(bool holds, std::string const& what) {
    if (!holds) {
        throw std::runtime_error("OpenGL ES: " + what);
    }
}

GLuint Shader(GLenum stage, char const* source) {
    GLuint const shader = glCreateShader(stage);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    GLint compiled = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
    Require(compiled != 0, "the shader does not compile");
    return shader;
}

} // namespace

struct BareGles::Context {
    Context() {
        // Whatever else the machine has: the peer is the one that every machine has.
        ::setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
        ::setenv("GALLIUM_DRIVER", "llvmpipe", 1);
        auto const getDisplay = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
            eglGetProcAddress("eglGetPlatformDisplayEXT"));
        Require(getDisplay != nullptr, "no displays of other platforms");
        display = getDisplay(EGL_PLATFORM_SURFACELESS_MESA, nullptr, nullptr);
        Require(eglInitialize(display, nullptr, nullptr) != 0, "no display without a surface");
        eglBindAPI(EGL_OPENGL_ES_API);
        EGLint const attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
        context = eglCreateContext(display, nullptr, EGL_NO_CONTEXT, attributes);
        Require(context != EGL_NO_CONTEXT, "no context");
        Activate();
        auto const* const renderer = reinterpret_cast<char const*>(glGetString(GL_RENDERER));
        Require(renderer && std::strstr(renderer, "llvmpipe"), "not drawn on the CPU");
    }
    ~Context() {
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        eglDestroyContext(display, context);
    }
    Context(Context const&) = delete;
    Context& operator=(Context const&) = delete;

    void Activate() const {
        Require(
            eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context) != 0, "not current");
    }

    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
};

bool BareGles::IsInstalled() {
    try {
        Context const context;
        return true;
    } catch (std::runtime_error const&) {
        return false;
    }
}

BareGles::BareGles(
    Kind kind,
    int width,
    int height,
    float const (&toClip)[16],
    std::vector<float> const& vertices,
    std::vector<std::uint32_t> const& texels)
    : m_context(std::make_unique<Context>()),
      m_mode(kind == Kind::Points ? GL_POINTS : GL_TRIANGLES) {
    GLuint buffers[2] = {};
    glGenRenderbuffers(2, buffers);
    GLuint frame = 0;
    glGenFramebuffers(1, &frame);
    glBindFramebuffer(GL_FRAMEBUFFER, frame);
    GLenum const formats[] = {GL_RGBA8, GL_DEPTH_COMPONENT24};
    GLenum const places[] = {GL_COLOR_ATTACHMENT0, GL_DEPTH_ATTACHMENT};
    for (int i = 0; i < 2; ++i) {
        glBindRenderbuffer(GL_RENDERBUFFER, buffers[i]);
        glRenderbufferStorage(GL_RENDERBUFFER, formats[i], width, height);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, places[i], GL_RENDERBUFFER, buffers[i]);
    }
    glViewport(0, 0, width, height);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);

    bool const textured = kind == Kind::Textured;
    GLuint const program = glCreateProgram();
    char const* const sources[] = {kPointsVertex, kLitVertex, kTexturedVertex};
    glAttachShader(program, Shader(GL_VERTEX_SHADER, sources[static_cast<int>(kind)]));
    glAttachShader(
        program, Shader(GL_FRAGMENT_SHADER, textured ? kTexturedFragment : kPlainFragment));
    glLinkProgram(program);
    glUseProgram(program);
    glUniformMatrix4fv(glGetUniformLocation(program, "toClip"), 1, GL_FALSE, toClip);

    constexpr int sizes[][2] = {{3, 0}, {3, 3}, {2, 3}};
    auto const& size = sizes[static_cast<int>(kind)];
    int const floats = size[0] + size[1];
    m_count = static_cast<int>(vertices.size()) / floats;
    GLuint array = 0;
    glGenBuffers(1, &array);
    glBindBuffer(GL_ARRAY_BUFFER, array);
    glBufferData(
        GL_ARRAY_BUFFER,
        static_cast<GLsizeiptr>(vertices.size() * sizeof(float)),
        vertices.data(),
        GL_STATIC_DRAW);
    auto const stride = static_cast<GLsizei>(sizeof(float)) * floats;
    for (GLuint i = 0, first = 0; i < 2 && size[i] != 0; first += static_cast<GLuint>(size[i++])) {
        glEnableVertexAttribArray(i);
        auto const* const offset = reinterpret_cast<void const*>(first * sizeof(float));
        glVertexAttribPointer(i, size[i], GL_FLOAT, GL_FALSE, stride, offset);
    }
    if (textured) {
        auto const edge = static_cast<GLsizei>(std::lround(std::sqrt(texels.size())));
        GLuint texture = 0;
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexImage2D(
            GL_TEXTURE_2D, 0, GL_RGBA8, edge, edge, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
        for (GLenum const filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
            glTexParameteri(GL_TEXTURE_2D, filter, GL_NEAREST);
        }
    }
    Frame();
    Require(glGetError() == GL_NO_ERROR, "an error while drawing");
}

BareGles::~BareGles() = default;

void BareGles::Frame() {
    m_context->Activate();
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glDrawArrays(m_mode, 0, m_count);
    glFinish();
}

} // namespace bench
