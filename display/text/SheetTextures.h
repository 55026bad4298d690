#pragma once

// The textures of glyph sheets. A sheet has one in each share group that draws from it.

namespace KTR {

class COpenGLView;
class GlyphSheet;

struct SheetTexture {
    unsigned int texture = 0; ///< 0 when there is no memory
    unsigned int sampler = 0; ///< for pictures that lie on the pixels; 0 with fixed functions
};

/// The texture of the current context's share group, with all that is in the sheet by now. Strings that wait are drawn
/// before anything changes.
SheetTexture UploadSheet(COpenGLView& view, const GlyphSheet& sheet);

/// Whether the text program would read a sheet from it.
bool IsSheetTexture(unsigned int texture);

/// The sheet goes; its textures wait for a context that can delete them.
void ForgetSheet(const GlyphSheet& sheet);
/// Deletes those of the current context's share group.
void DeleteSheetTextures(COpenGLView& view);
/// The share group is gone, and its textures with it.
void ForgetSheetTextures(const void* shareGroup);

} // namespace KTR
