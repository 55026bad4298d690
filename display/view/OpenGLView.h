#pragma once

#include "../Export.h"
#include "../Framework.h"
#include "../images/BackingStore.h"
#include "../images/TextureManager.h"
#include "../images/TextureRequest.h"
#include "../overlay/OverlayState.h"
#include "../pipeline/ShaderData.h"
#include "../pipeline/Tesselator.h"
#include "../pipeline/VertexBatch.h"
#include "../platform/PixelFormat.h"
#include "../platform/VersionPolicy.h"
#include "../profile/ProfileTypes.h"
#include "../text/FontManager.h"
#include "../text/TextState.h"
#include "../values/BasicTypes.h"
#include "../values/SharedPointer.h"
#include "../values/SoleOwner.h"
#include "RenderingContextRecord.h"

#include <afxtempl.h>

#include <array>
#include <vector>

namespace spdlog {
class logger;
}

namespace KTR {

class GeometryFilling;
class GLCalls;
class GLGeometry;
struct RasterState;
struct TexturedQuadrilateral;
enum GLLineJoin : int;
enum GLSymbolKind : int;
struct GLLineStyle;
struct GLLineTextStyle;
struct GLPolygonStyle;
struct GLSymbolStyle;
struct ProfileState;
struct ShapeDrawing;

/// Signatures of the WGL extension functions that the library uses.
using WglChoosePixelFormatARB = BOOL(WINAPI*)(HDC deviceContext, const int* integerAttributes,
                                              const FLOAT* floatAttributes, UINT maximumFormats, int* formats,
                                              UINT* formatCount);
using WglCreateContextAttribsARB = HGLRC(WINAPI*)(HDC deviceContext, HGLRC shareContext, const int* attributes);
using WglGetPixelFormatAttribivARB = BOOL(WINAPI*)(HDC deviceContext, int format, int layer, UINT attributeCount,
                                                   const int* attributes, int* values);

/// The one object through which a host draws: one window with the rendering contexts that serve it.
///
/// Operations are grouped by subsystem; each group names the source file that implements it:
///
///   1. Life and death            display/view/OpenGLView.cpp
///   2. Records and settings      display/view/ViewRecords.cpp
///   3. Version policy, loader    display/platform/ViewBootstrap.cpp
///   4. Pixel formats             display/platform/ViewPixelFormats.cpp
///   5. Context lifecycle         display/platform/ViewContexts.cpp
///   6. Matrices                  display/view/ViewMatrices.cpp
///   7. GL state                  display/view/ViewState.cpp
///   8. Frame: clear, colour      display/view/ViewFrame.cpp
///   9. Vertex batch              display/pipeline/ViewBatch.cpp, VertexBatchInline.h
///  10. Client state              display/pipeline/ViewClientState.cpp
///  11. Programs and buffers      display/pipeline/ViewShaders.cpp, ViewBinding.cpp, ViewUniforms.cpp
///  12. Trace and errors          display/diagnostics/ViewTrace.cpp
///  13. Text                      display/text/ViewFonts.cpp, ViewText.cpp, ViewRasterText.cpp
///  14. Textures and images       display/images/ViewTextures.cpp, ViewImages.cpp
///  15. Backing store             display/images/ViewBackingStore.cpp
///  16. Geometry that stays       display/pipeline/ViewGeometry.cpp
///  17. Overlays                  display/overlay/ViewOverlays.cpp, ViewRubberBand.cpp
///  18. Light and surfaces        display/scene/ViewLight.cpp, ViewSurfaces.cpp, ViewEyeDome.cpp
///  19. Rasters                   display/images/ViewRasters.cpp
///  20. View volume               display/view/ViewVolume.cpp, ViewConversions.cpp, display/scene/ViewPerspective.cpp
///  21. Shapes                    display/shapes/ViewShapes.cpp
///  22. Profiles                  display/profile/ViewProfile.cpp
///  23. Vertices in bulk          display/pipeline/ViewBulk.cpp
///  24. State of drawing          display/view/ViewDrawingState.cpp, ViewReset.cpp
///  25. Text on maps              display/text/ViewMapText.cpp
///
/// **Order of calls for geometry.** On both pipelines the same order gives the same frame:
///
///     view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, shader);
///     view.BeginArrays(GL_LINES, shader);
///     view.AddIndex2DVertexRGBA(...);            // as many as needed
///     view.EndArraysAndDisableClientState();
///
/// Set matrices, point size, line width and every other GL state *before* EnableClientState...: the 4.x pipeline takes
/// them when it binds the program there, the fixed-function pipeline when a batch is drawn. A vertex takes its colour
/// at its add (for the CurrentColor members: the current colour at that moment). Nothing is drawn before EndArrays or a
/// full batch.
///
/// **Which way for what.** Large batches cost next to nothing beside their vertices, and need only the order above.
///
///     many small batches                   between BeginSharedDraws and EndSharedDraws
///     vertices that lie in arrays          AddVerticesRGBA and its kin
///     records that are made on the spot    ReserveRecords, CommitRecords
///     what is the same in each frame       InitializeVBO once, then DrawArrays: it stays on the card
///
/// **Threads.** A view belongs to one thread, the one that has its context current. Draw with programs (4.x contexts)
/// on one thread only: views share them, and would draw each other's frames. Construct the first view of the process
/// before any other thread constructs one.
///
/// **Size.** A view takes some 35 KB; do not put many on a stack. Its vertex arrays have room for 1.3 MB beside it,
/// which become memory as far as batches reach.
class ORRIN_DISPLAY_API COpenGLView {
public:
    // ---- 1. Life and death. Implemented in OpenGLView.cpp

    /// Makes a view without contexts. The first view of the process also settles which pipeline the process uses.
    COpenGLView();
    /// A snapshot of the other view's settings. It has no contexts, vertex arrays or lock of its own; its tessellator,
    /// batch pointers and backing store are the source's, which must outlive their use. Destroying it or assigning over
    /// it releases nothing of the source.
    COpenGLView(const COpenGLView& other);
    /// As the copy constructor. What this view itself owns stays with it until it is destroyed.
    COpenGLView& operator=(const COpenGLView& other);
    /// Deletes the view's contexts. Call ShutDownOpenGLContexts first, while the window still exists.
    ~COpenGLView();

    /// Puts everything back to its start, contexts included: they are deleted.
    void Initialize();
    /// Puts both context records back to their start; their contexts are deleted.
    void InitializeOpenGLContextStruct();

    /// Binds the main context to `window`: obtains its device context (released with the rendering context), makes the
    /// rendering context current and sets a black background. Create the context first. Null leaves the binding as it
    /// is.
    void InitializeOpenGL(HWND window);
    /// Releases the view's GL objects. Call it while `window` still exists; null does nothing.
    void ShutDownOpenGLContexts(HWND window);
    /// The last call into the class: deletes the locks that all views share. A view that is still there (a global one,
    /// a member of the program's object) may be shut down and destroyed after it. One made after it starts the class
    /// anew, with the version that was settled before.
    static void FinalShutDownDestroyClassCriticalSection();

    /// The view's own lock, for hosts whose threads take turns on a view. A copied view has none; there the calls only
    /// keep the flag.
    void EnterManagerCriticalSection();
    void LeaveManagerCriticalSection();

    /// Has the font manager create its default font, which it does where the process uses the 4.x pipeline. For hosts
    /// that choose the pipeline themselves, after the first view is made. An HRESULT.
    long InitializeFontManager();

    /// The view's tessellator; the view owns it.
    GLTesselator* GetTesselator() const { return m_tesselator; }
    /// 0 for the first view of the process; never used again after a view is gone.
    int GetManagerIndex() const { return m_managerIndex; }
    /// 0 when the main context is the one that all others share with, positive when it shares with that, -1 when there
    /// is none or it was not made through attributes.
    int GetMasterContextIndex() const;

    // ---- 2. Records and settings. Implemented in ViewRecords.cpp

    /// What the view knows of a context; for hosts that want to look, not to change.
    const GLRenderingContextRecord& GetContextRecord(GLRenderingContextTypes type) const { return m_contexts[type]; }
    GLRenderingContextTypes GetCurrentContextType() const { return m_currentContext; }

    /// True once the main context has been created, whichever context is current.
    bool IsOpenGLInitialized() const;
    bool IsCurrentGLRenderingContextNull(GLRenderingContextTypes type) const;
    bool IsMyContextCurrent(GLRenderingContextTypes type) const;
    bool GetDoubleBufferSetting(GLRenderingContextTypes type) const;
    /// Whether the current context's view is a perspective.
    bool IsPerspectiveSideView() const;
    GLViewOrientation GetCurrentViewOrientation() const;
    /// Client size in pixels of the current context's window; 0 and 0 without one.
    void GetWindowDimensions(int& width, int& height) const;

    /// These three only store: the view volume's next operation starts from them. To look from one point to another
    /// call SetUpPerspectiveScene.
    void SetTargetPoint(GLRenderingContextTypes type, const glm::dvec3& point);
    void SetEyePoint(GLRenderingContextTypes type, const glm::dvec3& point);
    void SetUpVector(GLRenderingContextTypes type, const glm::dvec3& vector);
    /// What the host subtracts from its coordinates before they become floats. The view volume takes it into its
    /// matrices; ChooseCoordinateOffsets finds good ones.
    void SetCurrentCoordinateOffsets(double x, double y);
    void GetCurrentCoordinateOffset(double& x, double& y) const;
    void SetTextScale(double scale);
    double GetTextScale() const;
    /// White light from the eye of intensity 4 with 0.2 of ambient light, as at the start.
    void InitializeDefaultLights(GLRenderingContextTypes type);

    // ---- 3. Version policy and loader. Implemented in ViewBootstrap.cpp

    /// True when `type` draws through the 4.x pipeline. The legacy context never does.
    static bool IsContextOpenGL4OrLater(GLRenderingContextTypes type);
    static bool IsContextLegacyOpenGL11(GLRenderingContextTypes type);
    bool IsCurrentContextOpenGL4OrLater() const { return IsContextOpenGL4OrLater(m_currentContext); }
    bool IsCurrentContextLegacyOpenGL11() const { return IsContextLegacyOpenGL11(m_currentContext); }
    /// Which of the two pipelines the current context draws with. Differs from IsCurrentContextOpenGL4OrLater for a
    /// context that the driver gave only in the plain way, which has to do without the shared programs, and for one
    /// whose driver lacks functions that they need.
    bool DrawsWithPrograms() const {
        const GLRenderingContextRecord& record = CurrentRecord();
        return IsCurrentContextOpenGL4OrLater() && !record.fixedFunctionOnly && !record.lacksProgramFunctions;
    }

    /// Bootstraps the loader and settles the process's pipeline. The first view's constructor calls it.
    int GetOpenGLVersionWithGLCement();
    /// Reads the current context's GL_VERSION. `combined` gives the values to start from and receives major × 10 +
    /// minor.
    int GetVendorGLVersion(int& combined, int& major, int& minor, GLVideoCardVendor& vendor);
    /// Puts a version in force; major 4 and up is the 4.x pipeline. For contexts created later. Returns
    /// bOpenGL4OrLater.
    static int SetOpenGLVersion(int major, int minor);
    /// Forces version 1.1. Turning it off again restores no version: call SetOpenGLVersion for that.
    static void ForceSoftwareRendering(bool on);
    /// Largest texture side in pixels, as settled for the process.
    static int GetMaximumTextureSize();
    /// Largest texture side in pixels that the current context reports; 0 without one.
    int GetContextMaxTextureSize();

    /// Fetches the WGL extension functions through a hidden window. 1 when it ran through, also after a message box
    /// about the pixel format or the context; 0 when there was no window to try it on.
    int InitializeGLCement();
    /// Loads the functions of the record's context, which must be current. 0 when out of memory.
    int MakeGLCementAndLoad(GLRenderingContextTypes type);
    int MakeGLCementAndLoadIfNeeded(GLRenderingContextTypes type, bool force);
    int CreateContextThroughGLCement(HDC deviceContext, GLRenderingContextTypes type);

    // ---- 4. Pixel formats. Implemented in ViewPixelFormats.cpp

    /// Sets the first format that fits. 1 when one was set; `format` and `descriptor` then describe it.
    int SearchAllPixelFormats(HDC deviceContext, bool drawToWindow, bool hardware, PIXELFORMATDESCRIPTOR& descriptor,
                              int& format, int colorBits);
    /// Chooses and sets a format by attributes; needs bAdvancedPixelFormat. A window keeps the format it once got.
    /// Failures show a message box and return 0.
    int SetupAdvancedPixelFormatForOpenGL(HDC deviceContext, GLRenderingContextTypes type, bool drawToWindow,
                                          int colorBits, bool hardware, bool doubleBuffer, bool stereo);
    /// Gives a device context the record's format if it lost it or never had it. Non-zero on success.
    int CheckDCPixelFormat(HDC deviceContext, GLRenderingContextTypes type);

    // ---- 5. Context lifecycle. Implemented in ViewContexts.cpp

    /// Creates the context `type` on a window's or a memory bitmap's device context and makes it current. 1 on success.
    /// The record takes the device context over: it is released when the rendering context is deleted. `colorBits`
    /// below 1 means the device context's own depth. AccelerationSoftware switches the whole process to version 1.1. A
    /// context that the view has of this kind is replaced and deleted; on failure it stays.
    int CreateContext(HDC deviceContext, bool drawToWindow, GLRenderingContextTypes type, const wchar_t* name,
                      int colorBits, OpenGLHardwareAcceleration acceleration);
    int CreateContextAndMakeCurrent(HDC deviceContext, GLRenderingContextTypes type, HDC& deviceContextOut,
                                    HGLRC& renderingContextOut);
    int CreateContextOldOpenGL(HDC deviceContext, bool drawToWindow, GLRenderingContextTypes type, const wchar_t* name,
                               int colorBits, OpenGLHardwareAcceleration acceleration);
    int SetUpLegacyContext(HDC deviceContext, int format, GLRenderingContextTypes type);
    /// Builds the stock programs again; only on the view that GetMasterContextIndex names 0, others do nothing. An
    /// HRESULT; E_FAIL when its context is not current.
    long InitializeMasterContextSharedResources();

    /// Selects a context. The calls return 0 on failure; `type` becomes the current kind even then. A device context
    /// without a window is always served by the legacy context. A context that the host made itself may be given; it is
    /// drawn to with fixed functions and stays the host's to delete. The one that it takes the place of comes back when
    /// it is given again, or goes with the view.
    int MakeCurrent(HDC deviceContext, HGLRC renderingContext, GLRenderingContextTypes type);
    int MakeCurrent(HDC deviceContext, GLRenderingContextTypes type);
    int MakeCurrent(GLRenderingContextTypes type);
    /// Creates the context first when there is none.
    int MakeContextCurrent(HDC deviceContext, bool drawToWindow, GLRenderingContextTypes type, const wchar_t* name);
    int MakeNull();
    /// Pops matrices and attributes, then deselects.
    void PopAndMakeNull();
    /// Bracket foreign OpenGL work: Save remembers what is current, Restore makes it current again.
    void SaveCurrentAsExitingDCAndGLRC();
    void RestoreAsCurrentExitingDCAndGLRC();
    /// Deletes the main context and creates it anew. Always 0.
    int RecreateContext(bool makeCurrent, HDC deviceContext, const wchar_t* name);
    /// Deletes a context and releases its device context. 1 when there was none or it is not the view's own, otherwise
    /// the system's result. The handles are cleared.
    int DeleteContext(const wchar_t* name, GLRenderingContextTypes type);
    int DeleteContext(const wchar_t* name, GLRenderingContextTypes type, HDC& deviceContext, HGLRC& renderingContext,
                      HWND& window);
    /// Points the batch at the view's own arrays.
    void LoadCurrentGLBuffers();
    /// Presents the main context's back buffer; with the legacy context current nothing is swapped. A lost pixel format
    /// is repaired by recreating the main context. Returns the device context.
    HDC SwapBuffers();

    // ---- 6. Matrices. Implemented in ViewMatrices.cpp
    // They act on the current context's double-precision matrices; a fixed-function context is kept in step. Angles are
    // in degrees. The labels are accepted for the host's own reading; the trace uses fixed ones.

    void MatrixMode(unsigned int mode);
    glm::dmat4 GetMatrix(unsigned int mode) const;
    glm::dmat4 GetCurrentMatrix() const;
    void ReplaceCurrentMatrix(const glm::dmat4& matrix);
    void CopyCurrentGLMMatrixToOpenGL();
    void CopyCurrentGLMMatrixToOpenGLMathMatrix();
    void LoadIdentity();
    void LoadMatrix(const double* matrix); ///< 16 doubles, column-major
    void MultMatrix(const double* matrix); ///< 16 doubles, column-major
    void Translate(double x, double y, double z);
    void Translate(float x, float y, float z);
    void Scale(double x, double y, double z);
    void Scale(float x, float y, float z);
    void Rotate(double angleDegrees, double x, double y, double z);
    void Rotate(float angleDegrees, float x, float y, float z);
    /// These three replace the projection (Ortho, Perspective) or the modelview matrix (LookAt), whatever the mode. On
    /// a fixed-function context only the current mode's matrix reaches OpenGL, so set the mode first.
    void Ortho(double left, double right, double bottom, double top, double zNear, double zFar);
    void Perspective(double fovyDegrees, double aspect, double zNear, double zFar);
    void LookAt(double eyeX, double eyeY, double eyeZ, double centreX, double centreY, double centreZ, double upX,
                double upY, double upZ);
    /// Each stack keeps the 16 newest matrices. Texture and colour pushes count on the modelview depth.
    void PushMatrix(const wchar_t* label);
    void PushMatrix(unsigned int mode, const wchar_t* label);
    void PopMatrix(const wchar_t* label);
    void PopMatrix(unsigned int mode, const wchar_t* label);
    void PushBothMatrices(const wchar_t* label);
    void PopBothMatrices(const wchar_t* label);
    void PopCurrentMatrixFromStack(unsigned int mode, StackOfMatrices& stacks);
    /// Sends projection and modelview to a fixed-function context that has just been made current.
    void LoadCurrentMatrices();
    /// Object to window coordinates: pixels from the lower left of the window, depth 0 to 1. Outputs stay as they are
    /// when the point has no image. The flag is accepted and not used.
    void Project(double x, double y, double z, const glm::dmat4& modelview, const glm::dmat4& projection,
                 const glm::dvec4& viewport, double* windowX, double* windowY, double* windowZ);
    void Project(double x, double y, double z, double* windowX, double* windowY, double* windowZ, bool flag);
    /// Window to object coordinates. Outputs stay as they are when the matrices cannot be inverted.
    void UnProject(double x, double y, double z, const glm::dmat4& modelview, const glm::dmat4& projection,
                   const glm::dvec4& viewport, double* objectX, double* objectY, double* objectZ);
    void UnProject(double x, double y, double z, double* objectX, double* objectY, double* objectZ, bool flag);
    void UpdateCompleteProjectionMatrix();
    void GetCompleteProjectionMatrixAndViewport(glm::dmat4& projectionTimesModelview, glm::dvec4& viewport);
    /// Viewport in window pixels, from the lower left.
    void SetUpViewport(int x, int y, int width, int height);
    glm::dvec4 GetViewport() const;
    void GetViewport(int* viewport) const; ///< 4 integers

    // ---- 7. GL state. Implemented in ViewState.cpp
    // Kept on the CPU per context, so that asking never calls OpenGL.

    void EnableDisableGLState(unsigned int capability, unsigned char on);
    unsigned char IsOpenGLStateEnabled(unsigned int capability) const;
    void Enable(unsigned int capability);
    void Disable(unsigned int capability);
    /// Enables on exactly 1, disables on anything else.
    void LoadGLState(unsigned int capability, unsigned char on);
    /// The state that a new context starts with. The context must be current.
    void GetInitialGLAttributes(GLAttributes& attributes);
    /// The state that OpenGL reports now, for state that was changed behind the library's back. On a 4.x context OpenGL
    /// is never told the current colour, the matrix mode and the raster position: it reports its own. Leaves an
    /// invalid-enum error with OpenGL.
    void GetCurrentGLAttributes(GLAttributes& attributes);
    /// Sends the whole cached state to OpenGL again.
    void LoadCurrentGLState();
    /// The ring keeps the 16 newest states. A pop sends the restored state to OpenGL.
    void PushAttributesOnStack(CircularAttributeStack& stack, const GLAttributes& attributes);
    bool PopAttributesFromStack(CircularAttributeStack& stack, GLAttributes& attributes);
    /// The whole state is saved, whatever `mask` says.
    void PushAttributes(unsigned int mask, const wchar_t* label);
    void PopAttributes(const wchar_t* label);
    /// Attributes, projection and modelview; the matrix mode is the one of the attributes.
    void PopAttributesAndMatrices(const wchar_t* label);
    /// The same of what the flags say; a `drawBuffer` other than 0 is selected afterwards. Without attributes the mode
    /// of the last matrix popped stays.
    void PopMatricesAndAttributes(bool projection, bool modelview, bool attributes, unsigned int drawBuffer,
                                  const wchar_t* label);
    void BlendFunc(unsigned int source, unsigned int destination);
    void LineWidth(float width); ///< pixels
    void PointSize(float size);  ///< pixels
    void PolygonMode(unsigned int face, unsigned int mode);
    void LogicOp(unsigned int operation);
    /// `factor` repeats each bit of `pattern` (low bit first) that many pixels.
    void LineStipple(int factor, unsigned short pattern);
    /// Does nothing on a 4.x context: there the stipple program is for stippled lines.
    void LineStippleOnOff(bool on);
    // ShadeModel, TexEnv and Light reach OpenGL on every context, for what a host draws there without a program; the
    // stock programs ask for none of it.
    void ShadeModel(unsigned int mode);
    void TexEnv(unsigned int target, unsigned int name, int value);
    void TexParameter(unsigned int target, unsigned int name, int value);
    /// `values` is what `name` wants: 4 floats for colours and GL_POSITION. The lit programs take the diffuse colour of
    /// GL_LIGHT0 and the direction to it, from the view's copy.
    void Light(unsigned int light, unsigned int name, const float* values);
    /// Diffuse colour of a light, 4 floats, asked of OpenGL.
    void GetLightColor(unsigned int light, float* color) const;
    /// These two do nothing on a 4.x context, where lighting is the program's.
    void DisableLightingState();
    void DisableLightsAndTextures();
    /// Each pair keeps one value per view; a second save replaces the first.
    void SaveDepthBufferState();
    void RestoreDepthBufferState();
    void SaveLightingState();
    void RestoreLightingState();
    /// Where raster text begins, in model coordinates.
    void RasterPosition(double x, double y, double z);
    void DrawBuffer(unsigned int buffer);
    /// The legacy context always reads the front buffer, whatever is asked.
    void ReadBuffer(unsigned int buffer);

    // ---- 8. Frame: background, clear, current colour, reading back. Implemented in ViewFrame.cpp

    /// Stores the background colour and hands it to OpenGL; `clear` also clears colour and depth.
    void SetBackgroundColor(COLORREF color, bool clear);
    void Clear(unsigned int mask);
    void Color(unsigned char r, unsigned char g, unsigned char b);
    void Color(unsigned char r, unsigned char g, unsigned char b, unsigned char a);
    void Color(const GLRGBColor& color);
    void Color(const GLRGBAColor& color);
    /// The colour that the CurrentColor adds take. No GL call.
    void SetCurrentColor(unsigned char r, unsigned char g, unsigned char b, unsigned char a, bool flag);
    GLRGBAColor GetCurrentColor() const;
    void PixelStore(unsigned int name, int value);
    /// Reads a rectangle of the read buffer; rows come lower first. `pixels` must hold what format, type and the
    /// pixel-store state ask for.
    void ReadPixels(int x, int y, int width, int height, unsigned int format, unsigned int type, void* pixels);

    // ---- 9. Vertex batch. Implemented in ViewBatch.cpp; the adds in VertexBatchInline.h

    /// Opens a batch of GL_POINTS, GL_LINES, GL_LINE_STRIP, GL_LINE_LOOP, GL_TRIANGLES, ... An open batch is discarded.
    /// Strips and loops of any length are split and joined as needed; GL_TRIANGLE_STRIP, GL_TRIANGLE_FAN and GL_POLYGON
    /// must stay below kBatchCapacity vertices, and GL_LINES batches must not exceed it.
    void BeginArrays(unsigned int mode, GLShaderTypes shader);
    /// Opens a batch over the caller's geometry (`count` records).
    void BeginArrays(unsigned int mode, GLShaderTypes shader, GLVBO& vbo, const GLDrawGeometry* geometry,
                     unsigned __int64 count);
    void EndArrays();
    void EndArraysAndDisableClientState();
    /// Ends a batch over caller's geometry. Does not flush: pending adds are discarded.
    void EndVBOArraysAndDisableClientState();
    /// Draws what is pending.
    void FlushArrays();
    /// Records in the open batch.
    int GetBatchVertexCount() const { return m_batch.batchVertexCount - m_batch.waitingCount; }

    /// Between these two calls, which may be nested, batches share draws and the ring's fences: a batch that agrees
    /// with the one before it in mode, program, matrices and state goes on behind it. Frames come out the same; only
    /// speed and the trace tell. Use it around many small batches (symbols, parcels, line strings): with it a batch of
    /// six vertices costs a fraction of what it costs alone, also with EnableClientState... and DisableClientState
    /// around each: what is bound already stays so. Leave OpenGL calls of your own outside, and do not count on fields
    /// of a record that an add does not write. Points, separate lines and triangles join; strips, loops and fans are
    /// drawn one by one, but without a fence each.
    void BeginSharedDraws();
    /// Draws what waits. An end without a beginning is passed over.
    void EndSharedDraws();
    /// For hosts that want it always.
    void SetSharedDraws(bool on);

    // One vertex each. Coordinates are narrowed to 32-bit floats: subtract a local origin first where they are large. A
    // field that a member does not take keeps what the record held before.
    inline void AddIndex2DVertexRGBA(double x, double y, unsigned char r, unsigned char g, unsigned char b,
                                     unsigned char a);
    inline void AddIndex3DVertexRGBA(double x, double y, double z, unsigned char r, unsigned char g, unsigned char b,
                                     unsigned char a);
    inline void AddIndex2DVertexCurrentColor(double x, double y, unsigned char alpha);
    inline void AddIndex3DVertexCurrentColor(double x, double y, double z, unsigned char alpha);
    inline void AddIndex2DVertexCurrentColorTexCoords(double x, double y, double s, double t, unsigned char alpha);
    inline void AddIndex3DVertexCurrentColorTexCoords(double x, double y, double z, double s, double t,
                                                      unsigned char alpha);
    inline void AddIndex2DVertexTexCoords(double x, double y, double s, double t);
    inline void AddIndex3DVertexTexCoords(double x, double y, double z, double s, double t);
    inline void AddIndex3DVertexNormalRGBA(double x, double y, double z, double nx, double ny, double nz,
                                           unsigned char r, unsigned char g, unsigned char b, unsigned char a);
    inline void AddIndex3DVertexNormalTexCoordRGBA(double x, double y, double z, double nx, double ny, double nz,
                                                   double s, double t, unsigned char r, unsigned char g,
                                                   unsigned char b, unsigned char a);
    /// An index without a record, for records written by other means.
    inline void AddDataIndex(unsigned int index);
    /// Texture coordinates of the vertex that the next add writes.
    inline void AddTextureDataCurrentIndex(double s, double t);
    /// A triangle, never split between two draws. Positions are taken relative to (ox, oy, oz), in double precision.
    inline void AddIndex3DTriangleVertexRGBA(const PointXYZ* p0, const PointXYZ* p1, const PointXYZ* p2,
                                             const GLRGBColor* c0, const GLRGBColor* c1, const GLRGBColor* c2,
                                             unsigned char alpha, double ox, double oy, double oz);
    /// A triangle at the records `index` to `index` + 2; the count stays as it is. Colours are multiplied by `shade`
    /// and truncated; above 255 they wrap. A triangle that does not fit into the arrays is left out.
    inline void AddIndex3DTriangleVertexNormalRGBA(const PointXYZ* p0, const PointXYZ* p1, const PointXYZ* p2,
                                                   const PointXYZ* normal, const GLRGBColor* c0, const GLRGBColor* c1,
                                                   const GLRGBColor* c2, unsigned char alpha, double ox, double oy,
                                                   double oz, double shade, int index);
    /// As above without colours; texture coordinates come from the unshifted points: s = (x - s0) × sScale,
    /// t = (y - t0) × tScale. Flushes first when `index` exceeds kBatchCapacity.
    inline void AddIndex3DTriangleVertexNormalTexRGB(const PointXYZ* p0, const PointXYZ* p1, const PointXYZ* p2,
                                                     const PointXYZ* normal, double ox, double oy, double oz, double s0,
                                                     double t0, double sScale, double tScale, int index);

    // ---- 10. Client state. Implemented in ViewClientState.cpp
    // What of a vertex is read. On a 4.x context each of these binds the stock program instead.

    void EnableClientState(bool vertex, bool normal, bool color, bool texture, GLShaderTypes shader);
    void EnableClientStateInternalBuffers(bool vertex, bool normal, bool color, bool texture, GLShaderTypes shader);
    void EnableClientStateInternalVertexAndColors(int vertexSize, unsigned int vertexType, int colorSize,
                                                  unsigned int colorType, GLShaderTypes shader);
    void EnableClientStateInternalVertexAndTexture(int vertexSize, unsigned int vertexType, int textureSize,
                                                   unsigned int textureType, unsigned int texture,
                                                   GLShaderTypes shader);
    void EnableClientStateVertex();
    void EnableClientStateNormal();
    void EnableClientStateColor();
    void EnableClientStateTexture();
    void VertexPointer(int size, unsigned int type, int stride, const void* pointer);
    void NormalPointer(unsigned int type, int stride, const void* pointer);
    void ColorPointer(int size, unsigned int type, int stride, const void* pointer);
    void TexCoordPointer(int size, unsigned int type, int stride, const void* pointer);
    /// Ends reading from the arrays; pending adds are discarded.
    void DisableClientState();

    // ---- 11. Programs and buffers of the 4.x pipeline
    // Programs, their building and deletion. Implemented in ViewShaders.cpp

    /// Builds the 13 stock programs on the current context, from the files in GetShaderFolder. 0, or the HRESULT of the
    /// first that failed; those before it stay. Failures show a message box.
    long BuildStockShaders();
    /// Builds one program into `data`; one that is already there is deleted. The last four files may be null. E_FAIL
    /// when it does not compile or link, otherwise LoadShader's results. Nothing is left behind on failure.
    long BuildShader(const wchar_t* folder, const wchar_t* vertexFile, const wchar_t* fragmentFile,
                     const wchar_t* tessControlFile, const wchar_t* tessEvaluationFile, const wchar_t* geometryFile,
                     const wchar_t* computeFile, GLShaderTypes type, unsigned int drawMode, ShaderData& data);
    /// Shows the driver's log of a shader (`isShader`) or program that failed.
    void DisplayShaderErrorLogMessage(unsigned int& object, const wchar_t* folder, const wchar_t* file, bool isShader);
    /// Deletes a program and clears the name; 0 does nothing.
    void DeleteShaderProgram(unsigned int& program);
    void DetachAndDeleteShader(unsigned int program, unsigned int shader);
    /// Detaches the fragment and the geometry shader of `data` from `program`.
    void DeleteShaderData(ShaderData& data, unsigned int program);
    /// Deletes every program of the set and empties it.
    void DeleteShaderSet(ShaderSet& set);

    // Programs in use and vertex storage. Implemented in ViewBinding.cpp

    /// Makes the stock program current and gives it the context's matrices, sizes and colours, and the view's own
    /// vertex storage or the caller's. 0, or E_OUTOFMEMORY when the driver gave no storage.
    long BindVariablesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data);
    long BindVariablesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type, ShaderData& data, GLVBO& vbo,
                                      const GLDrawGeometry* geometry, unsigned __int64 count);
    long BindVAOAndVBOBufferData(ShaderData& data);
    long BindVAOAndVBOBufferData(ShaderData& data, GLVBO& vbo, const GLDrawGeometry* geometry, unsigned __int64 count);
    /// Opens a batch over the caller's geometry: `count` records, uploaded once on a 4.x context, pointed to on others.
    void InitializeVBO(unsigned int mode, GLShaderTypes type, GLVBO& vbo, const GLDrawGeometry* geometry,
                       unsigned __int64 count);
    /// Draws `count` vertices of a caller's buffer that InitializeVBO filled and whose program is bound. With `indices`
    /// (`count` of them) or an index buffer in `vbo` it draws what they choose; `indices` is then an address or, with
    /// an index buffer, an offset in bytes. Without geometry in `vbo` nothing is drawn.
    void DrawArrays(int mode, int count, GLVBO& vbo, const unsigned int* indices);
    /// The same from vertex `first` on, or with indices from the one at `first` on. A negative one draws nothing.
    void DrawArrays(int mode, int first, int count, GLVBO& vbo, const unsigned int* indices);
    /// Deletes a caller's buffers and empties the record, so that new geometry can be given. While the view's context
    /// is not current the buffers stay.
    void DeleteVBO(GLVBO& vbo);
    /// One input of the vertex array in use, where the program reads it.
    void EnableVertexAttribArray(VertexAttribBufferType attribute, ShaderData& data);
    void DisableVertexAttribArray(VertexAttribBufferType attribute, ShaderData& data);
    long DisableShaderVertexAttribArrays(GLShaderTypes type);
    /// Deletes the current context's vertex arrays and the view's own buffers; the next batch makes new ones. 0, also
    /// while the view's context is not current, when they stay.
    long DeleteAttributeBuffers();
    /// Puts a fence behind everything drawn so far; an old fence is deleted.
    void LockGPUBuffer(GLsync& fence);
    /// Waits until the GPU has passed the fence; null does not wait.
    void WaitForGPUBuffer(GLsync& fence);

    // Uniforms of the program in use; one that the program lacks is skipped. Implemented in ViewUniforms.cpp

    /// Projection times modelview, multiplied in double precision. 0.
    long BindMatricesToShaderProgram(GLRenderingContextTypes context, GLShaderTypes type);
    /// The direction is sent as it is: in eye coordinates.
    long BindShaderLightParameters(ShaderData& data, const GLLightParameters& light);
    /// Binds the texture and sampler that the text program reads, if text has set some.
    long BindFontAtlasTexture();
    /// By name. `data` must be of the program in use; each returns 0.
    long BindUniform1i(ShaderData& data, const char* name, int value);
    long BindUniform1ui(ShaderData& data, const char* name, unsigned int value);
    long BindUniform1f(ShaderData& data, const char* name, float value);
    long BindUniform3fv(ShaderData& data, const char* name, const float* values);
    long BindUniform4f(ShaderData& data, const char* name, float x, float y, float z, float w);
    long BindUniform4fv(ShaderData& data, const char* name, const float* values);
    /// Lets the programs of images and glyphs fill whatever the polygon mode is, and the others follow it.
    void SetPolygonFillMode(GLShaderTypes type);
    /// Texture and sampler that the textured programs read; a sampler of 0 leaves the texture's own settings in force.
    void DrawSetupSetShaderTexture(unsigned int texture, unsigned int sampler);
    /// 0 makes images invisible, 255 shows them as they are. Programs take it at the next binding.
    void DrawSetupTextureTransparency(unsigned char transparency);

    // ---- 12. Trace and errors. Implemented in ViewTrace.cpp

    /// Registers the host's logger under its own name; a name that is taken stays with its first logger. The library
    /// writes to the logger named "OrrinLogger", at trace level.
    static void RegisterLogger(std::shared_ptr<spdlog::logger> logger);
    /// For capture tools and debuggers of OpenGL, where the driver has KHR_debug: programs, buffers, textures, samplers
    /// and vertex arrays get names, what operations draw is grouped under theirs, and what the driver has to say goes
    /// to the logger, from level debug up to error. Call it before the first context is made: what there is already
    /// stays without names. Off, as at the start, no call of OpenGL is made for it. For the process; any thread.
    static void SetDebugNames(bool on);
    /// Writes one label to the trace. It does not ask OpenGL for errors. Any thread.
    void outputGlError(const wchar_t* label) const;
    /// The current context's glGetError; 0 without a context.
    unsigned int GetError() const;
    /// GLU's text for an error code, or null. The caller must not free it.
    const unsigned char* ErrorString(unsigned int code) const;
    void Finish();
    void Flush();

    // ---- 13. Text
    // Coordinates have y growing upwards; a string's place is the left end of its baseline. Places may lie as far from
    // the origin as those of national grids. Any UTF-16 text may be given; a character that the font lacks shows as the
    // font's first. HRESULTs are results of CFTGLFontAtlas.
    //
    // Fonts of the 4.x pipeline and what they measure. All views draw with the manager's current font. Implemented in
    // ViewFonts.cpp

    /// Makes the requested font current and loads it if it is not there. GL names of a font that had to go are deleted
    /// here, or at the next text when no 4.x context is current.
    long SetUpNewFont(FontParameters& request);
    long GetFontParameters(FontParameters& parameters) const;
    /// The manager's index when this view last chose a font.
    int GetCurrentFontIndex() const { return m_text.currentFont; }
    int GetFontAverageWidthPixels() const;
    int GetFontAverageHeightPixels() const;
    double GetFontAverageWidthNotionalUnits() const;
    double GetFontAverageHeightNotionalUnits() const;
    /// UTF-16 units of a string; 0 for a null one and without a font or lists.
    std::size_t GetTextStringLength(const wchar_t* text) const;
    /// Pixels that a string takes, and its length. On a fixed-function context the display lists made last count, those
    /// of bitmaps first and outlines at scale 1; without lists the current font does. All are 0 without either.
    long GetTextStringDimensions(const wchar_t* text, std::size_t& length, double& width, double& height) const;
    /// 0 makes text invisible, 255 shows it in the current colour. Needs blending, which the setup of text turns on.
    void DrawSetupTextTransparency(unsigned char transparency);
    unsigned char GetTextTransparancy() const;

    // Strings from glyph atlases. Implemented in ViewText.cpp

    /// Opens a run of strings. On a 4.x context blending by alpha is turned on and the modelview matrix is kept;
    /// `pixelProjection` then counts coordinates in pixels of the window from its lower left, and `enableClientState`
    /// binds the current font. Elsewhere texture and blending are turned off. `value`, `a` and `b` are only kept, see
    /// GetFontAtlasTextSetup.
    ///
    /// Strings of a run that look alike wait in the batch and share a draw. Whatever else the view does draws them
    /// first, so that nothing but speed tells; OpenGL calls of the host's own should wait for the teardown, or come
    /// after Flush. A setup within another one has a teardown of its own, after which the outer run goes on; 16 may
    /// be open at a time.
    void DrawSetupFontAtlasText(bool pixelProjection, bool enableClientState, unsigned int value, double a, double b);
    /// What the last setup was given.
    void GetFontAtlasTextSetup(unsigned int& value, double& a, double& b) const;
    /// Binds the current font for drawing, on a 4.x context only. A font that could not be built is replaced by the
    /// default one; without that a message box tells.
    void DrawFontAtlasEnableClientState();
    /// Draws what is pending and unbinds the font.
    void DrawFontAtlasDisableClientState();
    /// Draws a string in the current colour and font, lines under and through it included. Its place is rounded to
    /// whole units, half upwards; `project` takes it from model to window coordinates first. `flag` goes to Project.
    /// Where the text scale is not 1 a modelview matrix is popped afterwards: the host pushed one to scale by.
    /// E_INVALIDARG for a null text or without a current font.
    long DrawFontAtlasText(const wchar_t* text, double x, double y, double z, bool project, bool flag);
    /// Ends a run of strings: draws what is pending, takes the matrices back and turns off what was off. `swap`
    /// presents the frame. Without a setup it only draws and presents.
    ///
    /// NOTE: the blend factors of before come back crossed, source as destination and destination as source: set your
    /// own afterwards. Only a run within another one gives that its own factors back.
    void DrawTeardownFontAtlasText(bool swap, bool checkErrors);
    /// One string on either pipeline. On a 4.x context `text` is drawn from the current font, at the context's raster
    /// position with `atRasterPosition` and at (x, y, z) without. Elsewhere the 256 display lists at `listBase` draw
    /// `text`, cut to 254 characters, or `ansiText` when it is null, at the raster position; `atRasterPosition` sets
    /// that to (x, y, z) first.
    long DrawTextString(unsigned int listBase, const wchar_t* text, const char* ansiText, bool atRasterPosition,
                        bool project, bool flag, double x, double y, double z);

    // Strings of any size and direction. Implemented in ViewText.cpp

    /// Draws a string that is scaled, then rotated about its place by `angleDegrees` against the clock, at the raster
    /// position with `atRasterPosition` and at (x, y, z) without, on either pipeline. `project` takes the place from
    /// model to window coordinates first; `ansiText` counts where `text` is null. On a 4.x context the current font is
    /// drawn with, and between setup and teardown such strings share draws too. Elsewhere the outline lists made last
    /// draw it, or the raster lists, upright and unscaled. E_INVALIDARG without a text or without a font or lists.
    long DrawFontAtlasScaledRotatedTextString(const wchar_t* text, const char* ansiText, bool atRasterPosition,
                                              bool project, double x, double y, double z, double scaleX, double scaleY,
                                              double scaleZ, double angleDegrees);
    /// Opens a run of strings in a frame of its own: there (0, 0, 0) is (x, y, z), everything is scaled and rotated
    /// about it. `alignment` moves the origin along `text`: 0 puts its left end on (x, y, z), 0.5 its middle, 1 its
    /// right end; a null `text` is not moved. DrawTeardownFontAtlasText takes the frame back. Nothing happens without a
    /// 4.x context.
    void DrawSetupTextOGL4(double x, double y, double z, const wchar_t* text, double scaleX, double scaleY,
                           double scaleZ, double angleDegrees, double alignment);
    /// The same on either pipeline. Elsewhere than on a 4.x context the frame is for the outline lists made last, whose
    /// base DrawTextString and DrawGLText are then given: they draw at the frame's origin. Without such lists this only
    /// sets the raster position to (x, y, z).
    void DrawSetupText(double x, double y, double z, const wchar_t* text, double scaleX, double scaleY, double scaleZ,
                       double angleDegrees, double alignment);

    // Strings from display lists, which the fixed-function pipeline draws. `listBase` names 256 lists, one for each
    // character of the ANSI code page; they belong to the host and to the context. Implemented in ViewRasterText.cpp

    /// Makes lists of bitmaps from a GDI font; old ones at `listBase` are deleted. On a 4.x context the font becomes
    /// the current atlas instead, and `listBase` stays as it is. E_INVALIDARG without a font or device context, E_FAIL
    /// when OpenGL made no lists.
    long RefreshRasterFont(HDC deviceContext, unsigned int& listBase, HFONT font, unsigned long color);
    /// Makes lists of filled outlines, one em high 1 unit. On a 4.x context as RefreshRasterFont.
    long RefreshOutlineFont(HDC deviceContext, unsigned int& listBase, HFONT font, unsigned long color);
    /// Draws at the raster position, in pixels of the window whatever the matrices are, and moves that to the end of
    /// the string. On a 4.x context the matrices of this moment say where in the window it lies.
    void DrawGLText(unsigned int listBase, const char* text);
    /// Sets the raster position, then draws there as DrawGLText. The string takes the colour that is current here.
    void DrawRasterText(unsigned int listBase, const char* text, double x, double y, double z);
    /// Draws outlines at (x, y, z), one em `scale` units high, rotated by `angleDegrees` against the clock and filled
    /// whatever the polygon mode is.
    void DrawOutlineText(unsigned int listBase, const char* text, double x, double y, double z, double scale,
                         double angleDegrees);
    /// Gives `listBase` 256 new, empty lists; old ones are deleted. 0 where OpenGL has none and on a 4.x context.
    void InitializeDisplayList(unsigned int& listBase);
    /// Deletes 256 lists of the current context's and clears the name; 0 does nothing.
    void DeleteFont(unsigned int& listBase);

    // ---- 14. Textures and images
    // The cache of raster textures, which all views share. Implemented in ViewTextures.cpp

    /// Looks for a texture in the cache. Where it is, true: `out` is its entry, it is the requested texture and, with
    /// `makeActive`, the active one. Where it is not, false: the host loads the texture (LoadGLImage) and hands it over
    /// (AddRequestedTexture). It is there when the first entry of this name is of an image of the same size and holds
    /// the region asked for, borders included. With the cache switched off, and for a null name, nothing is ever there.
    ///
    /// \param factor           bytes of the request = factor × bytesPerGroup × textureWidth × textureHeight
    /// \param xMin,yMin,xMax,yMax  region of the image: first and last columns and rows
    /// \param scale            stored with the entry
    /// \param recordRequest    keeps the request for AddRequestedTexture; without it nothing is found
    /// \param deleteOnMismatch an entry of this name that does not fit is removed, GL objects included
    /// \param missFlagA,missFlagB  become the load-new-texture flags on a miss, unless a misfit is kept
    /// \param out              not null; null where there is no entry of this name, or none any more
    bool RequestTextureFromCache(const wchar_t* name, int imageWidth, int imageHeight, int factor, int bytesPerGroup,
                                 int textureWidth, int textureHeight, int xMin, int yMin, int xMax, int yMax,
                                 double scale, double unused1, double unused2, bool recordRequest,
                                 bool deleteOnMismatch, bool makeActive, bool missFlagA, bool missFlagB,
                                 GLTextureObject** out);
    /// Adds the texture that the last request was about; the cache then owns the GL names. With the cache switched off
    /// nothing is added, the result is S_OK and the names stay the host's.
    long AddRequestedTexture(unsigned int texture, unsigned int sampler, GLTextureObject** out);
    /// Makes the requested texture the active one, the one that Draw2DTextureOnQuadrilateral draws. E_INVALIDARG when
    /// it has no texture name, or, on fixed-function contexts, no sampler name.
    long MakeRequestedTextureActive();
    const GLTextureObject& GetRequestedTexture() const { return m_requestedTexture; }
    unsigned int GetActiveTexture() const { return m_textureRequest.activeTexture; }
    unsigned int GetActiveSampler() const { return m_textureRequest.activeSampler; }
    /// Whether the host has to load a new texture; two flags whose difference is the host's affair.
    void SetLoadNewTextureFlag(bool a, bool b);
    void GetLoadNewTextureFlag(bool& a, bool& b) const;
    /// The cache's entry at a position of its list; null where there is none.
    GLTextureObject* GetTextureObjectAtPosition(POSITION position) const;
    /// Removes the first entry of this name with its GL objects. E_INVALIDARG when there is none that this context can
    /// delete, and when it is not the thread's current one. Every view forgets the names, as with each way that an
    /// entry is removed by a view.
    long DeleteTextureFromCache(const wchar_t* name);
    /// Removes entries from the head of the list, with their GL objects, until no more than `maximumBytes` are left.
    /// Call it with the view's context current, between frames. E_FAIL when more are left: what other share groups hold
    /// can be deleted there only.
    long LimitTextureCache(unsigned long long maximumBytes);
    /// Empties the cache. GL objects that the current context can reach are deleted; the others wait for a context of
    /// their group.
    void DeleteDisplayTextureCache();
    /// Queues a sampler that cannot be deleted now because no context of its group is current; 0 is passed over.
    void AddSamplerNameToDeleteStack(unsigned int sampler);
    /// Deletes the queued samplers, and textures that wait likewise. Without a current context of the share group they
    /// stay queued.
    void DeleteSamplerNameStack();
    /// Empties the cache and deletes the queued samplers, before the share group's last context goes.
    void DeleteTexturesAndSamplers();
    /// Deletes a texture and a sampler of the current context's share group and clears both names; 0 is passed over.
    /// Where the view's context is not the thread's current one the names stay as they are.
    void DeleteTextureAndSamplerNames(unsigned int& texture, unsigned int& sampler);

    // Images: loading and drawing. Implemented in ViewImages.cpp
    // Row 0 of an image is its lower row, at texture coordinate t = 0.

    /// Loads an image into a texture, and leaves it bound to `textureUnit` (with its sampler, on a 4.x context). The
    /// active unit is GL_TEXTURE0 afterwards. A host's pixel-store state, pixel transfer and pixel buffers change
    /// nothing and are as before. Pixels without data are treated (DrawSetupNoDataColor) and colours adjusted
    /// (DrawSetupImageAdjustment) where a host has asked for it.
    ///
    /// \param textureUnit   GL_TEXTURE0 and up, as many as the context has
    /// \param format        what a pixel is: GL_RGB, GL_RGBA, GL_BGR, GL_BGRA, GL_LUMINANCE, GL_LUMINANCE_ALPHA,
    ///                      GL_ALPHA, GL_RED in bytes, GL_DEPTH_COMPONENT in floats from 0 to 1
    /// \param width,height  pixels
    /// \param rowAlignment  each row begins at a multiple of this many bytes from the first: 1, 2, 4 or 8
    /// \param filter        GL_NEAREST, GL_LINEAR, or (not for depths) GL_LINEAR_MIPMAP_LINEAR, which makes smaller
    /// levels
    ///                      so that an image drawn much smaller does not flicker, and takes a third more memory; beyond
    ///                      its edges the image goes on with its outermost pixels
    /// \param pixels        null leaves the contents open
    /// \param texture       0 makes a texture; a texture of the current share group is filled anew
    /// \param sampler       on a 4.x context as `texture`; elsewhere it stays as it is
    /// \return S_OK; E_INVALIDARG for what is not listed here and for sizes that are not positive or exceed
    ///         GetContextMaxTextureSize; E_FAIL without a current context; E_OUTOFMEMORY. On failure nothing is made.
    long LoadGLImage(unsigned int textureUnit, unsigned int format, int width, int height, int rowAlignment,
                     unsigned int filter, const void* pixels, unsigned int& texture, unsigned int& sampler);
    /// LoadGLImage to GL_TEXTURE0.
    long LoadRasterImage(unsigned int format, int width, int height, int rowAlignment, unsigned int filter,
                         const void* pixels, unsigned int& texture, unsigned int& sampler);
    /// Draws an image of bytes over a rectangle in model coordinates: row 0 along `bottom`, column 0 along `left`.
    /// Exchange `bottom` and `top` for an image whose row 0 is its upper row. An image that exceeds the largest texture
    /// is drawn in tiles; the seams do not show. Everything that is drawn textured obeys the texture transparency and
    /// is blended by its alpha. What a host has set for its own drawing (pixel storage and transfer, polygon mode, a
    /// program) changes nothing and is put back; an open batch is discarded, and a program of the library's is in use
    /// no longer. Results as LoadGLImage.
    long DrawImage(double left, double bottom, double right, double top, double z, unsigned int format, int width,
                   int height, int rowAlignment, unsigned int filter, const void* pixels);
    /// Draws a texture over a quadrilateral: 4 corners in order around it, in model coordinates, and their 4 texture
    /// coordinates (null: the whole texture, its lower left at the first corner, counter-clockwise). It is drawn as two
    /// triangles that meet between the first and third corner; cut what is no parallelogram into small pieces.
    /// E_INVALIDARG for no texture and no corners, E_FAIL without a current context.
    long DrawTexturedQuadrilateral(unsigned int texture, unsigned int sampler, const PointXYZ* corners,
                                   const GLTexCoords* coordinates);
    /// Draws several, for layers of many tiles: one set-up and one fence for all, and one draw for those of one texture
    /// and sampler that follow each other, so order them by texture where they do not overlap. S_OK for none.
    /// E_INVALIDARG, before anything is drawn, for a null pointer to some and where one has no texture.
    long DrawTexturedQuadrilaterals(const TexturedQuadrilateral* quadrilaterals, std::size_t count);
    /// DrawTexturedQuadrilateral with the active texture of the cache.
    long Draw2DTextureOnQuadrilateral(const PointXYZ* corners, const GLTexCoords* coordinates);
    /// What images drawn or loaded from now on show where a pixel has exactly the colour `marker`: nothing, or the
    /// colour `paint`. Before the first call no colour is a marker.
    void DrawSetupNoDataColor(const GLRGBColor& marker, const GLRGBColor& paint);
    /// True (as at the start): pixels without data are transparent; false: they are painted.
    void DrawSetupNoDataIsTransparent(bool on);
    /// False shows such pixels as they are.
    void DrawSetupApplyNoDataColor(bool on);

    // ---- 15. Backing store. Implemented in ViewBackingStore.cpp
    // A view stores one finished frame, so that an overlay (a rubber band, a cursor) is drawn over it again and again
    // without drawing the scene.

    /// Makes room for a frame of `width` × `height` pixels; never less than for 1024 × 768, and what is large enough
    /// already stays as it is, contents included. S_OK, or E_OUTOFMEMORY, after which there is no store.
    long AllocateBackingStore(int width, int height);
    /// The saved colours: 4 bytes (red, green, blue, alpha) a pixel, rows of the saved width without padding, lower
    /// row first. Null without a store. The view owns it; it stays until the store grows or is deleted. To read only:
    /// what a 4.x context puts back is its own copy.
    unsigned char* GetRGBABackingStore() const;
    /// Capacity of that, at least what the frame takes.
    unsigned __int64 GetRGBABackingStoreSizeInBytes() const;
    /// Frees the store and deletes its textures if a context that has them is current, else they go with the next save
    /// or the context.
    void DeleteBackingStore();
    /// Makes the context `type` current on `deviceContext` and stores a rectangle of its `readBuffer` (the legacy
    /// context's is the front buffer): the colours, and on a 4.x context the depths. `x` and `y` in window pixels from
    /// the lower left. A zero size stores nothing and changes nothing; results are S_OK, E_INVALIDARG for a negative
    /// size, E_FAIL when there is no such context to make current, and E_OUTOFMEMORY. State is as before afterwards.
    long SaveBackingStore(HDC deviceContext, GLRenderingContextTypes type, unsigned int readBuffer, int x, int y,
                          int width, int height);
    /// Puts a part of the stored frame back into the current context's draw buffer, to the pixel: `width` × `height`
    /// pixels of the frame from (`x`, `y`), both from its lower left, to (`rasterX`, `rasterY`) in window pixels,
    /// rounded to whole ones. What lies outside the frame, or outside the part of the window that `window...` gives
    /// (pixels from the lower left), is left out.
    ///
    /// Nothing is put back when the window has another size than when the frame was saved, when it was saved from the
    /// view's other context, or without a frame; `clear` clears all the same, so that a host sees a background instead
    /// of a frame that no longer fits. Where the view's context is not the thread's current one nothing happens at all.
    /// An open batch is discarded. State is as before afterwards, a host's own program included; one of the library's
    /// is in use no longer.
    ///
    /// \param format       GL_RGBA, the only format that is stored; any other puts nothing back
    /// \param sizeInBytes  bytes of the frame that the host means, 4 a pixel; a frame of another size is not put
    ///                     back. 0 takes any
    /// \param clear        first clears colour and depth to the background, as Clear does: where the scissor test is
    ///                     on, only its box
    /// \param depth        puts the depths back too, so that later drawing is hidden by the scene as before. Only on a
    ///                     4.x context; elsewhere the depth buffer is left alone
    /// \param frontBuffer  draws into what is on the screen instead of the back buffer; the legacy context always does
    void RestoreBackingStore(unsigned int format, unsigned long sizeInBytes, float rasterX, float rasterY, int x, int y,
                             int width, int height, int windowX, int windowY, int windowWidth, int windowHeight,
                             bool clear, bool depth, bool frontBuffer);

    // ---- 16. Geometry that stays. Implemented in ViewGeometry.cpp
    // For what is drawn more often than it changes: maps, reliefs, clouds. What is new in each frame goes through the
    // batch, many small batches of it between BeginSharedDraws and EndSharedDraws.

    /// What is added from here on, by any of the adds, by the tessellator and in as many batches as wanted, goes into
    /// the geometry instead of being drawn; what it held before goes. No context is needed. An open batch is discarded;
    /// text and images are drawn as ever. E_FAIL where a geometry is being filled already; E_OUTOFMEMORY.
    ///
    /// The records' zero lies at `origin`; without one, at the current coordinate offsets.
    long BeginGeometry(GLGeometry& geometry);
    long BeginGeometry(GLGeometry& geometry, const PointXYZ& origin);
    /// The geometry is filled; a batch that was not ended is discarded. E_FAIL without a beginning and where the
    /// geometry is gone; E_INVALIDARG where batches did not agree in what GLGeometry keeps, or an index of AddDataIndex
    /// was of no record; E_OUTOFMEMORY. On failure the geometry is empty.
    long EndGeometry();
    /// Draws all records, or `count` from `first` on, with the arrays or the program that an EnableClientState... has
    /// bound, and with the matrices of this moment, the light under them included, on both pipelines. Strips that a
    /// range cuts are drawn as far as they lie in it; triangles and lines begin at `first`. It waits for nothing, and
    /// the state is as before.
    ///
    /// S_OK; E_INVALIDARG for a range that is not there; E_FAIL without a current context, where nothing is bound and
    /// while the geometry is being filled; E_OUTOFMEMORY where the card has no room, when nothing is drawn; E_HANDLE
    /// where the records were freed (GLGeometry::FreeRecordsAfterUpload) and are needed.
    long DrawGeometry(const GLGeometry& geometry);
    long DrawGeometry(const GLGeometry& geometry, int first, int count);

    // ---- 17. Overlays: what is drawn over the finished frame
    // They belong to the main context, which they make current. The frame is the one that the host drew last: cleared
    // (Clear, SetBackgroundColor) and not presented yet, or presented (SwapBuffers). It is stored at the first call
    // that needs it, with its depths on a 4.x context, in the backing store; then every call puts back what overlays
    // covered, draws them anew and presents, without drawing the scene. What OpenGL calls of the host's own put into
    // the back buffer between two of these calls comes to light with the next. A host that draws its frame in steps
    // saves the whole back buffer itself (SaveBackingStore) after each: that is then the frame, and after
    // RestoreBackingStore of all of it the host goes on drawing without what overlays left there.
    //
    // Results: S_OK; S_FALSE, with nothing drawn, where there is no frame to draw over (none was drawn yet, or the
    // window's size or the context changed since: draw one, see NeedsRedraw) and for a band that is not active; E_FAIL
    // without a context or when an overlay threw (the others are drawn); SaveBackingStore's. State is as before
    // afterwards; client state is disabled, an open batch discarded and a program of the library's no longer in use.
    //
    // Overlays, and presenting when all layers are there. Implemented in ViewOverlays.cpp

    /// Has `draw` called with `context` whenever overlays are drawn, those of lower `order` first, the band last. The
    /// number is for RemoveOverlay; 0 for a null function. Nothing is drawn by this.
    int AddOverlay(GLOverlayFunction draw, void* context, int order);
    /// False for a number that is not there. What it drew goes with the next RedrawOverlays.
    bool RemoveOverlay(int overlay);
    /// Draws all overlays, and the band if one is active, over the frame, and presents. Call it instead of SwapBuffers
    /// at the end of a frame, and whenever an overlay has changed.
    long RedrawOverlays();
    /// What is over the frame cannot be put right any more, since the frame is gone: draw a new one.
    bool NeedsRedraw() const;

    /// While the mode is on and layers that were started are not complete, SwapBuffers and the overlays present
    /// nothing; that they wanted to is remembered, and the last completion presents, once. So does turning the mode off
    /// with such a wish waiting. These four may be called on any thread. Presenting is the view's own thread's affair:
    /// where the view's context is not the calling thread's current one, the view's next call on its own thread
    /// presents.
    void SwapBuffersSetDelayedSwapModeState(bool on);
    void SwapBuffersCountDelayedLayerStart();
    /// A completion too many leaves the count at 0.
    void SwapBuffersCountDelayedLayerComplete();
    int GetDelayedLayerCount() const;

    // Rubber bands. Client coordinates are pixels from the upper left of the client area, y downwards. One band at a
    // time in each view. Implemented in ViewRubberBand.cpp

    /// Starts a band at a place, with the style set last. An active one is ended without being kept. E_INVALIDARG for a
    /// type that there is not, a place that is not finite, and a custom band without a function.
    long BeginRubberBand(GLRubberBandTypes type, double clientX, double clientY);
    /// Draws the band to where the mouse is.
    long MoveRubberBand(double clientX, double clientY);
    /// Settles a point of a line string, polygon or custom band, after which the next point follows the mouse; others
    /// are moved.
    long AddRubberBandPoint(double clientX, double clientY);
    /// Ends the band. The frame is as it was before; with `keep` the band stays part of it until the host draws.
    long EndRubberBand(bool keep);
    bool IsRubberBandActive() const { return m_overlays.band.IsActive(); }
    /// The band's points: those settled and, last, the one that follows the mouse; after the end those it ended with.
    /// Their number. At most `capacity` are written, to client coordinates.
    int GetRubberBandPoints(PointXY* points, int capacity) const;
    /// The same in true coordinates, as Client2RealWorld finds them; what has none is no number.
    int GetRubberBandPoints(PointXYZ* points, int capacity) const;
    /// Holds for bands begun from now on, and for the active one from its next move on. Values out of range are
    /// clamped.
    void SetRubberBandStyle(const GLRubberBandStyle& style);
    const GLRubberBandStyle& GetRubberBandStyle() const { return m_overlays.bandStyle; }

    // ---- 18. Light and surfaces
    // Light. Implemented in ViewLight.cpp
    //
    // What is drawn with a lit program (GLShaderShadedColor3Stage, GLShaderShadedTexture) shows at each vertex
    //
    //     clamp(color × lightColor × (ambient + (1 - ambient) × |n · l| × intensity / 4), 0, 1)
    //
    // where n is the normal under the inverse transpose of the model-view matrix, l points towards the light, both of
    // length one in eye coordinates, and color is the vertex's or the texture's. Surfaces are lit from both sides.
    // Alpha is not lit. Both pipelines differ from this by at most 1 of 255.

    /// The light of the current context: its direction towards the light in model coordinates, of any length; colours
    /// from 0 up; the intensity, of which 4 shows a surface that faces the light in its own colour (hosts show
    /// intensity × 12.5 as percent); the ambient part, 0 to 1, which needs no light.
    ///
    /// Directions turn with the camera: whatever is drawn takes the light under the model-view matrix of that moment
    /// (with programs: of EnableClientState..., else of BeginArrays). A matrix that scales the axes differently, as for
    /// exaggerated heights, turns them as if it scaled all alike. The light is saved by PushAttributes.
    ///
    /// S_OK; E_INVALIDARG for a direction of no length, an ambient part outside 0 to 1, and what is negative or not
    /// finite: then nothing changes.
    long SetLightParameters(const GLLightParameters& light);
    /// The direction is in model coordinates also where Light has set it: the present model-view matrix takes it back.
    GLLightParameters GetLightParameters() const;
    /// A sun at `azimuthDegrees` clockwise from north (+y) and `altitudeDegrees` above the horizon, -90 to 90. Else as
    /// the light was. E_INVALIDARG for other angles.
    long SetSun(double azimuthDegrees, double altitudeDegrees);
    /// On: the light shines from the eye along the view, whatever its direction. Off: from its direction again, which
    /// may have been set meanwhile. Light with GL_POSITION ends it.
    void SetHeadlight(bool on);
    /// On a fixed-function context: turns lighting on and gives OpenGL the view's light, and again whenever it or the
    /// camera has changed (two opposite lights, the colours of vertices as material); off puts OpenGL's lights,
    /// materials and shade model back as they were. Between the two draw what is lit only, with a lit shader type.
    /// On a 4.x context it does nothing: there the shader type decides.
    void SetUpLighting(bool on);

    // Surfaces, and all else that a host has as records. Implemented in ViewSurfaces.cpp

    /// Draws a host's records at once, however many: those that `indices` choose, or all in their order where it is
    /// null, when `indexCount` does not count. Both belong to the host and are not needed afterwards. For what changes
    /// or is drawn seldom; what stays is best uploaded once (InitializeVBO). SurfaceNormals.h makes normals and grids.
    /// It takes matrices, light and state of this moment and needs neither EnableClientState nor BeginArrays. A lit
    /// shader type is lit on both pipelines, whether lighting was set up or not; textured ones show the texture of
    /// DrawSetupSetShaderTexture. A zero normal takes its face's where colours are lit. State is as before afterwards,
    /// a host's own program included; one of the library's is in use no longer, and an open batch is discarded.
    /// \param mode     GL_POINTS, GL_LINES, GL_LINE_STRIP, GL_LINE_LOOP, GL_TRIANGLES, GL_TRIANGLE_STRIP or
    ///                 GL_TRIANGLE_FAN; what is left at the end of a primitive is passed over
    /// \param shader   GLShaderPoint to GLShaderTextureDecalFusion. GLShaderLineStipple is for lines only,
    ///                 GLShaderShadedColor3Stage for triangles
    /// \return S_OK, also for no primitive; E_INVALIDARG for another mode or shader type, for no records and for an
    ///         index beyond `count`: then nothing is drawn; E_FAIL where the view's context is not current;
    ///         E_OUTOFMEMORY, when a part may have been drawn
    long DrawGeometry3D(unsigned int mode, GLShaderTypes shader, const GLDrawGeometry* records, unsigned __int64 count,
                        const unsigned int* indices, unsigned __int64 indexCount);

    // Eye-dome lighting: shading by depths, for clouds of points, which have no normals. 4.x contexts only.
    // Implemented in ViewEyeDome.cpp
    //
    // Each pixel that something was drawn to is darkened by how much nearer its neighbours are:
    //
    //     shown = color × exp(-strength × √(h² + v²) / radiusPixels)
    //
    // where h is the larger lead of the neighbours to the left and to the right, v that of those below and above, each
    // radiusPixels away (rounded to whole pixels), and at least 0. A lead is how much nearer the neighbour is to the
    // eye's plane, in sizes of a pixel at the neighbour's distance. So a surface shows the same shades at whatever
    // scale, e to the power of -strength where it slopes by 45 degrees; and what lies far behind an edge shows a dark
    // line.

    /// Turns it on or off for the current context. `strength` 0 and up, 0.2 to 1 as a rule; `radiusPixels` 1 to 64, 1
    /// or 2 as a rule. Any context takes the settings. S_OK, or E_INVALIDARG, and nothing changed, for other values.
    long SetUpEyeDomeLighting(bool on, float strength, float radiusPixels);
    /// Whether it works on the current context: on a 4.x context that has depths, unless its driver refused the
    /// program. False with fixed functions and while the view's context is not current.
    bool IsEyeDomeLightingAvailable() const;
    /// Shades what has been drawn in the viewport, by the depths that are there. Call it once a frame, at the end of
    /// the scene: before overlays, text and furniture, which are no part of it, before SaveBackingStore, so that the
    /// stored frame is shaded, and while the projection is the scene's. A second call shades again. Off, or where it
    /// does not work, it does nothing. Colours alone change, within the scissor box where that test is on; state is as
    /// before afterwards, a host's own program included; one of the library's is in use no longer, and an open batch is
    /// discarded. S_OK, also when it did nothing; E_FAIL when the driver refuses the program.
    long DrawEyeDomeLighting();

    // ---- 19. Rasters. Implemented in ViewRasters.cpp
    // Values that become colours, images that are adjusted, and two images over the same ground.

    /// Loads values as colours into a texture at GL_TEXTURE0, as LoadGLImage does with an image.
    ///
    /// \param type          GL_UNSIGNED_SHORT, GL_SHORT or GL_FLOAT
    /// \param width,height  values
    /// \param rowAlignment  each row begins at a multiple of this many bytes from the first: 1, 2, 4 or 8
    /// \param values        row 0 is the lower one, as everywhere
    /// \param style         the last one used is kept ready: load what has the same style together
    /// \return as LoadGLImage; E_INVALIDARG also without values
    long LoadDataRaster(unsigned int type, int width, int height, int rowAlignment, unsigned int filter,
                        const void* values, const GLDataStyle& style, unsigned int& texture, unsigned int& sampler);
    /// Replaces a part of a texture that LoadGLImage or LoadDataRaster filled, from column `x` and row `y` on, treated
    /// and adjusted as an image is; smaller levels follow. The texture is bound to GL_TEXTURE0 afterwards. It takes the
    /// format that it was loaded with; one with an opacity (GL_RGBA, values, pixels without data) takes any, and where
    /// pixels without data are looked for it has to be such a one. E_INVALIDARG for others, and for what does not lie
    /// in the texture; E_FAIL without a current context; E_OUTOFMEMORY.
    long UpdateGLImage(unsigned int texture, unsigned int format, int x, int y, int width, int height, int rowAlignment,
                       const void* pixels);
    /// Lets each channel of a pixel without data be off the marker by so many levels, 0 (as at the start) to 255.
    void DrawSetupNoDataTolerance(int levels);
    /// Changes the colours of images loaded or drawn from now on: gamma (above 1 lightens the middle, 0.01 to 100),
    /// then contrast about the middle grey (0 to 100), then brightness (-1 to 1) is added. 1, 0 and 1, as at the start,
    /// show them as they are. What is out of range counts as the nearest, what is no number as that. Pixels without
    /// data are found by the colours before.
    void DrawSetupImageAdjustment(double contrast, double brightness, double gamma);
    /// Which textures of the cache LimitTextureCache evicts first; at the start those that were added first.
    /// GLTextureCacheByUse makes the newest of an entry that RequestTextureFromCache finds. For the process.
    static void SetTextureCacheOrder(GLTextureCacheOrder order);

    /// Makes the requested texture the second image of DrawFusionOnQuadrilateral, with MakeRequestedTextureActive's
    /// flags and results. A request without a texture leaves no second image.
    long MakeFusionTextureActive();
    unsigned int GetFusionTexture() const;
    /// Draw2DTextureOnQuadrilateral with the second image over the active texture. Without a second image the first is
    /// drawn alone.
    ///
    /// NOTE: a fixed-function context with fewer than three texture units (Windows' own OpenGL 1.1) draws the second
    /// image over the frame: the same where the first one is opaque.
    ///
    /// \param coordinates        of the corners in the active texture; null for the whole
    /// \param fusionCoordinates  of the corners in the second; null for the whole
    /// \param mode               GLFusionBlend, GLFusionMultiply or GLFusionAdd
    /// \param amount             0, the first image alone, to 1; what is outside counts as the nearer of them
    /// \return S_OK; E_INVALIDARG for no active texture, no corners and another mode; E_FAIL without a current context
    long DrawFusionOnQuadrilateral(const PointXYZ* corners, const GLTexCoords* coordinates,
                                   const GLTexCoords* fusionCoordinates, GLFusionMode mode, double amount);

    // ---- 20. View volume, map and screen, perspective
    // What of the model is seen, from where and how large, on the current context's record; every place is in true
    // coordinates and in double precision to the last step. A set-up loads projection and modelview matrix and leaves
    // the mode at modelview. After drawing with other matrices (a host's own, those of an overlay) LoadViewMatrices
    // brings them back. Whenever the viewport's size (SetUpViewport) or the coordinate offsets change while they are
    // loaded, they follow: middle and scale of the picture stay, in perspective by a wider or narrower angle.
    //
    // Coordinates may reach 1e30; an exaggeration above 0 multiplies heights. Operations that return HRESULTs give
    // E_INVALIDARG, and change nothing, for what is not finite or not in the range told. The others pass over such
    // input. Before the first set-up nothing has an image and nothing moves.
    //
    // Set-up, scale and history. Implemented in ViewVolume.cpp

    /// Looks along an axis at the box from `low` to `high`: all of it is visible in the viewport's middle, a fiftieth
    /// more than it needs, its proportions kept; near and far hold it however it is turned. A point or a line gives a
    /// usable view too. E_INVALIDARG also for GLViewOrientationPerspective, and for GLViewOrientationProfile: the line
    /// that a profile follows is not in a box.
    long SetUpOrthoFromModelExtents(GLViewOrientation orientation, const PointXYZ& low, const PointXYZ& high,
                                    double zExaggeration);
    /// The model's box is another one, as while a file is read: near and far hold it from now on, in the views of the
    /// history too. The picture stays, and this is no step of the history. E_INVALIDARG for what is no box; S_FALSE,
    /// with nothing changed, before a set-up and in profiles.
    long SetViewModelExtents(const PointXYZ& low, const PointXYZ& high);
    /// Loads the matrices of the view that is set up; there is nothing to load before.
    void LoadViewMatrices();
    /// The edges of what is visible of the view plane, measured along the screen's right and up: seen from the top in x
    /// and y, from the front in x and z times the exaggeration, from the right in y and that, from the bottom, the back
    /// and the left with x or y negative. In perspective in the plane through the target. All 0 before a set-up.
    void GetViewExtents(double& left, double& bottom, double& right, double& top) const;
    /// Shows that rectangle in the viewport's middle, as large as it fits. E_INVALIDARG without width or height.
    long SetViewExtents(double left, double bottom, double right, double top);
    /// The scale, in perspective at the target's distance; 0 before a set-up.
    double GetUnitsPerPixel() const;
    /// Comes closer by `factor`, below 1 goes farther away; the place under the cursor stays under it. In perspective
    /// the eye moves on the line of sight to what is drawn there (Client2RealWorldOnScene), or to the plane through the
    /// target. Silently ends where the roundings of coordinates would begin to show, and where the model would be a
    /// thousandth of a pixel.
    void ZoomAbout(double factor, double clientX, double clientY);
    /// Moves the picture by so many pixels to the right and down, in perspective what is as far away as the target.
    void Pan(double rightPixels, double downPixels);
    /// Brings what is in the rectangle of client coordinates (two opposite corners) to the middle, as large as it fits.
    /// E_INVALIDARG without width or height.
    long ZoomToClientRectangle(double x0, double y0, double x1, double y1);
    /// Each change of the view is a step, and 16 can be taken back: the view of before, false when there is none. The
    /// scale of a view holds when the window has been resized since.
    bool PreviousView();
    /// Takes a PreviousView back. Any other change ends this.
    bool NextView();
    /// What happens to the view between these two calls, which may be nested, is one step of the history: a drag of the
    /// mouse, say.
    void BeginViewChange();
    void EndViewChange();
    /// Sets the coordinate offsets to whole thousands in the middle of the box. S_OK where floats relative to them are
    /// within a thousandth of a unit, S_FALSE where the box is too large for that.
    long ChooseCoordinateOffsets(const PointXYZ& low, const PointXYZ& high);

    // Map and screen. Client coordinates are pixels from the upper left of the client area, y downwards: pixel (i, j)
    // reaches from i to i + 1. The way there and back differs by at most a millionth of a pixel at 1 mm a pixel and
    // coordinates of 4,500,000 m. Where the result is false, outputs stay as they are. Implemented in
    // ViewConversions.cpp

    /// False for what has no image: at or behind the eye. What is outside of the window has one.
    bool RealWorld2Client(double x, double y, double z, double& clientX, double& clientY) const;
    /// For `count` places and as many results; `hasImage` says for each whether there is one, null leaves that out.
    /// Returns how many there are.
    std::size_t RealWorld2Client(const PointXYZ* world, std::size_t count, PointXY* client,
                                 bool* hasImage = nullptr) const;
    /// The place on the plane through the target that is parallel to the screen: in a top view z is the target's.
    bool Client2RealWorld(double clientX, double clientY, double& x, double& y, double& z) const;
    /// `depth` as the depth buffer has it: 0 near, 1 far.
    bool Client2RealWorldAtDepth(double clientX, double clientY, double depth, PointXYZ& world) const;
    /// Where the height `planeZ` is seen; false where the line of sight does not meet it, in perspective in front of
    /// the eye.
    bool Client2RealWorldOnPlane(double clientX, double clientY, double planeZ, PointXYZ& world) const;
    /// What is drawn there with the depth test on, or else the nearest of what is drawn within 3 pixels; as exact as
    /// the depth buffer. Taken from the backing store's depths (4.x contexts) without waiting for OpenGL where the
    /// frame there is of this view, otherwise from the depth buffer, which has to be as the scene left it. False where
    /// nothing is drawn.
    bool Client2RealWorldOnScene(int clientX, int clientY, PointXYZ& world);
    /// The line of sight, `direction` a unit vector. It begins at the eye, of parallel projections in a plane in front
    /// of the model.
    bool GetPickRay(double clientX, double clientY, PointXYZ& origin, PointXYZ& direction) const;

    // Perspective scenes. Angles of view are the full ones, in the viewport's height, between 0 and 180 degrees. Near
    // and far are as tight around the box as it and the eye allow, and never more than 1 : 20,000 apart. Implemented in
    // ViewPerspective.cpp

    /// An `up` along the line of sight is replaced by +z or, looking up or down, by +y. E_INVALIDARG also for an eye at
    /// the target.
    long SetUpPerspectiveScene(const PointXYZ& eye, const PointXYZ& target, const PointXYZ& up, double fovyDegrees,
                               const PointXYZ& low, const PointXYZ& high, double zExaggeration);
    /// Looks at the box's middle from the smallest distance from which all of it is visible. The eye stands in the
    /// direction of `azimuthDegrees` (0 north, 90 east) and `elevationDegrees` (-90 to 90) as seen from there.
    long SetUpPerspectiveFromModelExtents(const PointXYZ& low, const PointXYZ& high, double azimuthDegrees,
                                          double elevationDegrees, double fovyDegrees, double zExaggeration);
    /// Leads a perspective's eye around the target: `azimuthDegrees` from north to east, `elevationDegrees` upwards. It
    /// ends at the poles; there azimuths turn the picture on. The target keeps its place in the window. Other views
    /// stay as they are.
    void OrbitBy(double azimuthDegrees, double elevationDegrees);
    /// Divides a perspective's distance to the target by `factor`; the target keeps its place in the window.
    void DollyBy(double factor);
    /// Makes what is drawn there (Client2RealWorldOnScene) the target, and leaves the picture as it is: OrbitBy then
    /// turns about what was clicked. False where nothing is drawn.
    bool SetTargetFromScene(int clientX, int clientY);

    // ---- 21. Shapes. Implemented in ViewShapes.cpp
    // Lines, curves, line strings, polygons and symbols, each by one call, in the current matrices and without anything
    // to set up.
    //
    // Places are in model coordinates once the offsets of SetCurrentCoordinateOffsets are subtracted. They may lie as
    // far from the origin as those of national grids. Widths, joins and symbols lie in the plane of x and y; pixels are
    // counted where the shape is, in perspective at its first point. What is not finite breaks a line there, and only
    // there. Everything is blended by alpha, filled whatever the polygon mode is, and tested against the depth buffer
    // as the host has set it. State is as before afterwards, a host's own program and vertex arrays included; a program
    // of the library's is in use no longer, and an open batch is discarded. Without a current context nothing happens.

    /// Between these two calls, which may be nested, shapes share draws, whatever their styles. As with shared draws,
    /// only speed tells. Use it around a layer.
    void BeginShapes();
    void EndShapes();
    /// A line in the current colour, as wide as LineWidth says.
    void DrawLine(double x0, double y0, double z0, double x1, double y1, double z1);
    /// A line through `count` points, and back to the first with `closed`. Nothing for fewer than two.
    void DrawLine(const PointXYZ* points, int count, bool closed);
    /// An upright rectangle at height 0 in the current colour, or its outline, as wide as LineWidth says; the same for
    /// the curves that follow.
    void Rect(double x0, double y0, double x1, double y1, bool filled);
    /// A circle around (x, y). Curves have so many edges that none is farther than a quarter of a pixel from where it
    /// should be, 8 to 4096 for a whole turn.
    void DrawCircle2D(double x, double y, double radius, bool filled);
    /// The part of a circle that begins at `startDegrees` from the x axis and goes on by `sweepDegrees` against the
    /// clock; filled, the sector.
    void DrawArc2D(double x, double y, double radius, bool filled, double startDegrees, double sweepDegrees);
    /// An ellipse whose first radius is rotated against the clock from the x axis.
    void DrawEllipse2D(double x, double y, double radiusX, double radiusY, bool filled, double rotationDegrees);
    /// A line string of any width with joins, caps, dashes and a casing, its edges smooth. One whose last point repeats
    /// the first is a ring. A string that has only one place is a dot where its caps are round or square.
    void DrawLineString(const PointXYZ* points, int count, const GLLineStyle& style);
    /// The same beside its places, `offset` (in the style's unit) to the left of their direction, or to the right of it
    /// where it is negative. See OffsetLineString.
    void DrawOffsetLineString(const PointXYZ* points, int count, double offset, const GLLineStyle& style);
    /// The parallel of a string: `offset` to the left, up to 1e15. Joins run around the outside of bends. On their
    /// inside it is trimmed, so that a bend tighter than the offset leaves no loop; where nothing is that far from the
    /// string nothing is left. A string whose last point repeats the first is a ring and stays one. An offset of 0
    /// gives the string back. `out` is replaced; pieces that do not meet, of a string that is broken or a ring that
    /// falls apart, have a point between them that is no number.
    static void OffsetLineString(const PointXYZ* points, int count, double offset, GLLineJoin join, double miterLimit,
                                 std::vector<PointXY>& out);
    /// A polygon: filled, hatched and outlined as the style says. The first ring is an outline, and so is each further
    /// one, or it is a hole where it begins inside of one before; in which direction a ring goes does not matter, nor
    /// whether its last point repeats the first. Inside is where outlines go around a place a number of times that is
    /// not zero. Outlines may cross: only those that do so some ten thousand times are filled in steps, finer than a
    /// pixel where the window shows all of them. Fills of neighbours meet without a gap.
    void DrawPolygon(const std::vector<std::vector<PointXYZ>>& rings, const GLPolygonStyle& style);
    /// A symbol whose middle is at a place.
    void DrawSymbol(GLSymbolKind kind, double x, double y, double z, const GLSymbolStyle& style);

    // ---- 22. Profiles. Implemented in ViewProfile.cpp
    // A profile shows a band of land along a line string, unrolled: across is the distance along the line (the
    // station), up is the height. A place belongs to the leg of the line that is nearest to it, within the half width;
    // at the outside of a bend that is the corner. Offsets count to the left of the line. In this view the conversions
    // of map and screen take and give true coordinates, and places outside of the band have no image.

    /// Shows the profile of `count` places, of which at least two differ; the array is not needed afterwards. The
    /// view's orientation becomes GLViewOrientationProfile, points and cursor of an earlier profile go. Without heights
    /// (`zLow` not below `zHigh`) they are found from the points; an exaggeration of 0 has them fill the window.
    /// E_INVALIDARG for what is not finite, no line, a half width not above 0, a negative exaggeration; E_OUTOFMEMORY.
    long SetUpProfileView(const PointXY* line, int count, double halfWidth, double zLow, double zHigh,
                          double zExaggeration);
    /// Length of the line; 0 without a profile.
    double GetProfileLength() const;
    /// False, and the outputs untouched, beyond the half width, before and behind the line, and without a profile. They
    /// hold in any orientation.
    bool RealWorld2Profile(double x, double y, double& station, double& offset) const;
    bool Profile2RealWorld(double station, double& x, double& y) const;
    /// For `count` places or stations and as many results, of which those outside are left untouched; `isInside` says
    /// for each, null leaves that out. Return how many lie inside.
    std::size_t RealWorld2Profile(const PointXYZ* world, std::size_t count, double* stations, double* offsets,
                                  bool* isInside = nullptr) const;
    std::size_t Profile2RealWorld(const double* stations, std::size_t count, PointXY* world,
                                  bool* isInside = nullptr) const;

    /// Adds those records that lie in the band and the range of heights. Their x and y are relative to the coordinate
    /// offsets, as for drawing; nothing else of them is needed afterwards. The points stay, on the card once they are
    /// drawn. S_OK; S_FALSE without a profile; E_INVALIDARG for no records; E_OUTOFMEMORY, when there are no points any
    /// more.
    long AddProfilePoints(const GLDrawGeometry* records, unsigned __int64 count);
    /// One point in true coordinates.
    long AddProfilePoint(double x, double y, double z, unsigned char r, unsigned char g, unsigned char b,
                         unsigned char a);
    void ClearProfilePoints();
    /// Points in the band.
    unsigned __int64 GetProfilePointCount() const;
    /// Draws the points in the profile's view, as large as PointSize says. S_FALSE in any other view; DrawGeometry's
    /// results.
    long DrawProfilePoints();
    /// The same with these records in place of the points that there are.
    long DrawProfilePoints(const GLDrawGeometry* records, unsigned __int64 count);
    /// Lines at round stations and heights with their numbers, and at the corners of the line. Numbers need a font,
    /// which a fixed-function context has once RefreshRasterFont or RefreshOutlineFont has been called there. State is
    /// as before afterwards; client state is disabled. S_FALSE in any other view.
    long DrawProfileGrid(const GLProfileGridStyle& style);
    /// The point drawn nearest to a place of the client area, at most so many pixels away: which of all records added
    /// since the set-up it is, from 0, those outside of the band counted too. -1 without one.
    __int64 PickProfilePoint(double clientX, double clientY, double pixels) const;

    /// Shows a cross-hair with both values over the profile's frame, and in each linked view the line with its band and
    /// the place on it; no scene is drawn. S_OK; S_FALSE where this view shows no profile and, with the cursor set,
    /// where one of the views has no frame; E_INVALIDARG for a station that is not on the line; RedrawOverlays'
    /// results.
    long SetProfileCursor(double station, double z);
    /// Takes it away. S_FALSE without one.
    long HideProfileCursor();
    /// False, and the outputs untouched, without one.
    bool GetProfileCursor(double& station, double& z) const;
    /// Has a map or a scene show this profile's line and cursor, until it is unlinked or one of the two goes. Both
    /// views have to be of one thread. E_INVALIDARG for this view itself; E_OUTOFMEMORY.
    long LinkProfile(COpenGLView& view);
    void UnlinkProfile(COpenGLView& view);

    // ---- 23. Vertices in bulk. Implemented in ViewBulk.cpp
    // They go on with the open batch, as that many adds would, in less time: on a 4.x context lines, triangles and
    // points go straight to where they are drawn from. A batch may mix them with the adds of single vertices and of
    // triangles, but not with those that name a record.

    /// Adds `count` vertices. Positions are taken relative to (ox, oy, oz), in double precision. Any count: the batch
    /// is split as it is for adds, but never within a line or triangle. Without colours vertices are white, without
    /// normals or texture coordinates those are 0. S_OK; E_INVALIDARG without points for a positive count;
    /// E_OUTOFMEMORY, and nothing added, where the driver has no storage for vertices.
    long AddVerticesRGBA(const PointXYZ* points, const GLRGBAColor* colors, const PointXYZ* normals,
                         const GLTexCoords* texture, std::size_t count, double ox, double oy, double oz);
    /// The same with one colour for all.
    long AddVerticesOneColor(const PointXYZ* points, const GLRGBAColor& color, const PointXYZ* normals,
                             const GLTexCoords* texture, std::size_t count, double ox, double oy, double oz);
    /// The same with red, green and blue of the current colour.
    long AddVerticesCurrentColor(const PointXYZ* points, unsigned char alpha, const PointXYZ* normals,
                                 const GLTexCoords* texture, std::size_t count, double ox, double oy, double oz);
    /// Room for `count` records, 1 to kBatchCapacity, for the host to fill; batches that have no room for so many more
    /// are drawn first. Write whole records in their order, and read nothing: it may be memory of the card. Null for
    /// other counts, without storage for vertices, and where the batch would have to be cut within a primitive, a strip
    /// or a fan.
    GLDrawGeometry* ReserveRecords(int count);
    /// Adds the first `count` of the records reserved last; 0 gives the room back. S_OK, or E_INVALIDARG with nothing
    /// added: for more than were reserved, for a second time, and when the view has added to the batch or drawn it
    /// since.
    long CommitRecords(int count);

    // ---- 24. State of drawing: whether the view draws, and whose OpenGL's state is
    // Implemented in ViewDrawingState.cpp

    /// Whether what is drawn with the current context now will be seen. What fails is told to the debugger once; this
    /// is for hosts that want to tell their users. Text of the 4.x pipeline needs a font besides.
    GLDrawingState GetDrawingState() const;

    // A host may draw with OpenGL calls of its own in a view's context. Whose state is whose:
    //
    //   The view's own     what the operations of this class set and a record keeps: the capabilities that
    //                      IsOpenGLStateEnabled knows, blending, logic operation, polygon mode, widths, stipple,
    //                      viewport, background, colour and matrices of fixed functions. Set it through the view: what
    //                      is set behind its back shows until the view sends that state again.
    //   The library's      programs, vertex arrays, client arrays, array buffers, textures and samplers of the units,
    //                      the active unit. A host's do not last; bind them before each use.
    //   Put aside          pixel storage, pixel transfer and pixel buffers, while images and text are loaded; a host's
    //                      program, while images, frames, records and shapes are drawn.
    //   The host's         all else. The library draws through it and expects a new context's: culling, stencil, alpha
    //                      test, clip planes, fog, masks, the depth function, offsets, framebuffers, texture matrices.
    //                      Put it back, or call ResetGLState.
    //
    // Implemented in ViewReset.cpp

    /// After a host's own OpenGL calls: the state that the library draws through becomes a new context's, and OpenGL
    /// gets the view's own state again. Client state is disabled, an open batch is discarded; textures and buffers are
    /// unbound, none is deleted. Stereo and multisampling stay as they are. Without a current context it does nothing.
    /// It costs some two hundred calls: once after a host's drawing, not around each of them.
    void ResetGLState();
    /// Compares what the view believes of OpenGL with what OpenGL says, and what the library draws through with a new
    /// context's. Nothing changes, and what waits is drawn. For each difference `report` (may be null) and the debugger
    /// get a line with both values. Returns their number; 0 without a current context. For development: it waits for
    /// the GPU.
    int ValidateState(CString* report);

    // ---- 25. Text on maps. Implemented in ViewMapText.cpp
    // How strings of this view are drawn from here on, and strings along lines. Those of before stay as they were.

    /// Draws a halo around all strings: everything within `widthPixels` of a letter, 0 (none, as at the start) to 32;
    /// what is outside counts as the nearest. A string's halo lies under all of its letters, and takes no draw of its
    /// own. It is scaled with the string, fades with the text's transparency and does not count when a string is
    /// measured. A halo of alpha 0 is none.
    ///
    /// NOTE: on a fixed-function context strings of display lists have one where the lists are the ones made last of
    /// their kind; it is opaque, around outlines as wide in pixels whatever their scale.
    void SetTextHalo(const GLRGBAColor& color, double widthPixels);
    GLRGBAColor GetTextHaloColor() const;
    double GetTextHaloWidth() const;
    /// Shapes strings (off at the start): kerning, ligatures and marks as the font's OpenType tables have them, joined
    /// scripts such as Arabic and Devanagari, and scripts that run from right to left. Strings are measured as they are
    /// shaped. A character that the font lacks shows as the font's sign for that.
    ///
    /// A string is laid out on one line by Unicode's bidirectional algorithm: its first letter with a direction decides
    /// where it begins, parts of the other direction and numbers stand in it in theirs. Of the algorithm's control
    /// characters only the left-to-right, right-to-left and Arabic letter marks have an effect, and brackets are not
    /// paired. A string's place is its left end, whatever its direction.
    ///
    /// NOTE: display lists have only the characters of one code page. With this on a fixed-function context draws the
    /// manager's current font, which SetUpNewFont loads there too: at the raster position wherever its strings stand
    /// there. Without such a font its lists draw as ever, not shaped.
    void SetTextShaping(bool on);
    bool GetTextShaping() const;
    /// Draws a string along the line through `count` places, in the current colour and font: its letters stand on the
    /// line as the window shows it, each turned as the line is there, in pixels whatever the zoom. Places are in model
    /// coordinates once the offsets of SetCurrentCoordinateOffsets are subtracted. What is not finite or behind the eye
    /// breaks the line there, and each piece is a line. A piece that is too short for the string, or bends too much
    /// under it, has none. On a fixed-function context without a current font (SetUpNewFont) the outline lists made
    /// last draw it. Blending is for the setup of text to turn on, as for other strings.
    ///
    /// S_OK; S_FALSE where no piece took the string; E_INVALIDARG without text or line, or without font and outline
    /// lists; E_OUTOFMEMORY.
    long DrawTextAlongLine(const wchar_t* text, const PointXYZ* points, int count, const GLLineTextStyle& style);

    // ---- Class-wide members

    static long m_gManagerCount; ///< views constructed so far, minus one
    static long m_gContextCount; ///< attribute-based contexts created so far, minus one
    static OpenGLVersionData m_gsOpenGLVersionData;
    static CRITICAL_SECTION m_gcsOpenGLConstructor;
    static CRITICAL_SECTION m_gcsOpenGLCreateContext;
    static CFTGLFontManager m_gFontManager;
    static COpenGLViewTextureManager m_gRasterTextureManager;
    static CArray<unsigned int> m_gcaSamplersForWindowToDelete;
    static CStringA m_gVideoVendorString; ///< the GL_VERSION text that the pipeline was settled by
    static WglChoosePixelFormatARB m_gfn_wglChoosePixelFormatARB;
    static WglCreateContextAttribsARB m_gfn_wglCreateContextAttribsARB;
    static WglGetPixelFormatAttribivARB m_gfn_wglGetPixelFormatAttribivARB;

private:
    friend struct ViewAccess;

    GLRenderingContextRecord& CurrentRecord() { return m_contexts[m_currentContext]; }
    const GLRenderingContextRecord& CurrentRecord() const { return m_contexts[m_currentContext]; }
    /// The objects of the context that the current record names.
    ContextObjects& CurrentObjects();
    const ContextObjects& CurrentObjects() const;
    /// Whether the context that the current record names is the thread's current one. Asked of the driver, who alone
    /// knows what others have selected since.
    bool HasCurrentContext() const;
    /// The one way to another record: the adds find its colour through a pointer, at each vertex.
    void SelectRecord(GLRenderingContextTypes type) {
        m_currentContext = type;
        m_currentColor = &m_contexts[type].attributes.currentColor;
    }
    /// OpenGL for who is about to change something: draws the vertices that wait, which must come before that.
    GLCalls CallGL();
    /// OpenGL for questions. Without a context its functions do nothing.
    GLCalls CurrentGL() const;
    COpenGLMath& MathOf(GLRenderingContextTypes type) const;
    COpenGLMath& CurrentMath() const { return MathOf(m_currentContext); }

    static void SetUpClassLocks();
    /// A class-wide lock while there is one; null after the last call, when nobody is left to wait for.
    static CRITICAL_SECTION* ClassLock(CRITICAL_SECTION& lock) { return m_gClassInitialized ? &lock : nullptr; }
    void CopySettings(const COpenGLView& other);

    void ReadDriverVersion();

    void FinishSharedDraws();
    void OpenBatch(unsigned int mode, GLShaderTypes shader);
    bool JoinsWaitingVertices(unsigned int mode, GLShaderTypes shader) const;
    bool MayWait() const;
    void DrawWaitingBatches();
    void FlushWaitingVertices(int count);
    void KeepPendingVertices();
    void MakeRoomForAdd();
    void DrawBeforeFirstRecord();
    void DrawBatch(int count);
    void DrawBatchFromRing(const GLCalls& gl, int start, int count);

    friend class GLTesselator;
    void AddTesselatedVertex(double x, double y, double z, unsigned char r, unsigned char g, unsigned char b,
                             unsigned char a);

    inline void BeginAtFirstRecord();
    inline int NextBatchSlot();
    inline void CountBatchVertices(int slot);
    inline GLDrawGeometry& BatchRecordAt(int index);
    inline bool TriangleFits(int index) const;

    void DrawWaitingVertices();
    void PresentWhatIsDue();

    /// State without a settled meaning: a view has it, a copy takes it over, and nothing reads it.
    struct Reserved {
        std::array<unsigned __int64, 5> numbers{};
        std::array<CString, 3> labels;
        bool flag = true;
    };
    /// What the destructor frees, whatever an assignment has put into the visible members.
    struct OwnedObjects {
        GLTesselator* tesselator = nullptr;
        unsigned char* backingStore = nullptr;       ///< malloc
        unsigned char* backingStoreSecond = nullptr; ///< malloc
        bool lock = false;
    };

    Reserved m_reserved;
    unsigned short m_savedLighting = 0;
    unsigned short m_savedDepthTest = 0;
    HDC m_exitingDeviceContext = nullptr;
    HGLRC m_exitingRenderingContext = nullptr;
    GLRenderingContextTypes m_exitingContext = GLContextMain;
    GLRenderingContextRecord m_contexts[kContextTypes];
    std::vector<ParkedObjects> m_parkedObjects;
    VertexBatchState m_batch;
    VertexBatchStorage m_batchStorage;
    BackingStore m_backingStore;
    BackingStoreFrame m_backingStoreFrame;
    OverlayState m_overlays;
    CString m_name; ///< given to the creation calls
    TextureUser m_textureUser{*this};
    TextureRequest m_textureRequest;
    GLTextureObject m_requestedTexture;
    GLTesselator* m_tesselator = nullptr;
    bool m_loadNewTexture[2] = {};
    bool m_inManagerSection = false;
    int m_managerIndex = 0;
    int m_copiedMasterIndex = -1; ///< of the view that this one is a copy of
    GLRenderingContextTypes m_currentContext = GLContextMain;
    const GLRGBAColor* m_currentColor = &m_contexts[GLContextMain].attributes.currentColor; ///< of the current record
    CString m_message; ///< scratch text that several diagnostics compose
    CRITICAL_SECTION m_managerSection{};
    unsigned __int64 m_gpuWaits = 0;
    unsigned int m_contextCreations = 0; ///< attribute-based ones
    OwnedObjects m_owned;
    TextState m_text;
    SoleOwner<GeometryFilling> m_filling; ///< while a geometry is being filled
    SoleOwner<ShapeDrawing> m_shapes;     ///< made at the first shape
    SoleOwner<RasterState> m_rasters;     ///< null until a data raster was loaded
    SoleOwner<ProfileState> m_profile;    ///< made with the first profile

    static ShaderSet m_gShaderSet;
    static int m_gClassInitialized;
    static HGLRC m_gCurrentRenderingContext; ///< the pair that the library made current last
    static HDC m_gCurrentDeviceContext;
    static OpenGLHardwareAcceleration m_gDefaultAcceleration;
};

/// Shared draws for the length of a scope.
class SharedDraws {
public:
    explicit SharedDraws(COpenGLView& view) : m_view(view) { m_view.BeginSharedDraws(); }
    ~SharedDraws() { m_view.EndSharedDraws(); }
    SharedDraws(const SharedDraws&) = delete;
    SharedDraws& operator=(const SharedDraws&) = delete;

private:
    COpenGLView& m_view;
};

} // namespace KTR

#include "../pipeline/VertexBatchInline.h"
