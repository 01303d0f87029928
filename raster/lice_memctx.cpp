#include "lice_memctx.h"

#include <algorithm>
#include <cstdlib>

HDC LICE_CreateMemContext(HDC, int w, int h)
{
  if (w < 1 || h < 1 || (long long)w * h > (1LL << 28)) return nullptr;
  LICE_pixel* fb = (LICE_pixel*)calloc((size_t)w * (size_t)h, sizeof(LICE_pixel));
  if (!fb) return nullptr;
  HDC ctx = new HDC__;
  ctx->w = w;
  ctx->h = h;
  ctx->fb = fb;
  return ctx;
}

void LICE_DeleteMemContext(HDC ctx)
{
  if (!ctx) return;
  free(ctx->fb);
  delete ctx;
}

void* LICE_MemContextBits(HDC ctx) { return ctx ? ctx->fb : nullptr; }

HGDIOBJ LICE_MemContextSelect(HDC ctx, HGDIOBJ obj)
{
  if (!ctx) return nullptr;
  HGDIOBJ old = ctx->font;
  ctx->font = obj;
  return old;
}

void LICE_MemContextTextColor(HDC ctx, int color)
{
  if (ctx) ctx->textColor = color;
}

void LICE_MemContextBkColor(HDC ctx, int color)
{
  if (ctx) ctx->bkColor = color;
}

void LICE_MemContextBkMode(HDC ctx, int mode)
{
  if (ctx) ctx->bkMode = mode;
}

void LICE_MemContextPushClip(HDC ctx)
{
  if (ctx) ctx->clipStack.push_back({ctx->clipped, ctx->clip});
}

void LICE_MemContextPopClip(HDC ctx)
{
  if (!ctx || ctx->clipStack.empty()) return;
  ctx->clipped = ctx->clipStack.back().first;
  ctx->clip = ctx->clipStack.back().second;
  ctx->clipStack.pop_back();
}

void LICE_MemContextSetClip(HDC ctx, const RECT* r)
{
  if (!ctx) return;
  ctx->clipped = r != nullptr;
  if (r) ctx->clip = *r;
}

void LICE_CutRect(RECT* box, const RECT& r)
{
  box->left = std::max(box->left, r.left);
  box->top = std::max(box->top, r.top);
  box->right = std::min(box->right, r.right);
  box->bottom = std::min(box->bottom, r.bottom);
}

bool LICE_PlaceText(HDC ctx, RECT* r, int flags, int tw, int th, int* x, int* y, RECT* box)
{
  if (flags & DT_CALCRECT)
  {
    r->right = r->left + tw;
    r->bottom = r->top + th;
    return false;
  }
  LICE_AlignText(r, tw, th, flags, x, y);
  *box = LICE_MemContextBounds(ctx);
  if (!(flags & DT_NOCLIP)) LICE_CutRect(box, *r);
  return true;
}

RECT LICE_MemContextBounds(HDC ctx)
{
  RECT b = {0, 0, ctx->w, ctx->h};
  if (ctx->clipped) LICE_CutRect(&b, ctx->clip);
  return b;
}
