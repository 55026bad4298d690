#pragma once

// The texture and the sampler of each font. The share group keeps them, so that each view finds them there.

namespace KTR {

class CFTGLFontAtlas;
class COpenGLView;
class GLCalls;

/// Makes the current font's texture and sampler, if it has none yet, and sees to it that they hold the glyphs of
/// `text`. A large font is uploaded in parts, as its glyphs are needed: all at once it would stop a frame for long.
/// E_OUTOFMEMORY where something is missing still; the next string tries again.
long UploadFontTexture(COpenGLView& view, CFTGLFontAtlas& atlas, const wchar_t* text);

/// Sees to it that the text program reads the font's atlas, all of it, for a host that draws glyphs by itself.
void UploadRestOfBoundFont(COpenGLView& view);

/// Deletes the names of a font that had to go. They wait as long as no context of the share group is current.
void DeleteTaggedFontNames(COpenGLView& view);

/// The fonts stay loaded, but have to be uploaded again: their share group goes. Without a current context of the group
/// the names are only forgotten and go with it.
void DeleteFontTextures(COpenGLView& view, bool contextIsCurrent);

/// A sampler that takes the nearest texel, which draws glyphs as sharp as they are; 0 where OpenGL has none.
unsigned int MakeSharpSampler(const GLCalls& gl);

/// Font textures made and deleted so far. Names are used again; a name from before a change is not to be trusted.
unsigned long long FontTextureChanges();
void NoteFontTextureChange();

} // namespace KTR
