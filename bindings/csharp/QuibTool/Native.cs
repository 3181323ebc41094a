// The library's records, constants and 79 functions, as its C header declares them.
// Nothing is checked here: a wrong address crashes the process, and what the engine
// refuses, or memory that runs out for pixels, ends it with exit(1). The checked forms test
// their arguments first.
using System;
using System.Runtime.InteropServices;

namespace QuibTool
{
    /// <summary>The region of an image that an operation touches.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct IplROI
    {
        /// <summary>The channel of interest, 0 for all.</summary>
        public int coi;
        /// <summary>The first column.</summary>
        public int xOffset;
        /// <summary>The first row.</summary>
        public int yOffset;
        /// <summary>Columns.</summary>
        public int width;
        /// <summary>Rows.</summary>
        public int height;
    }

    /// <summary>An image; its address is a handle.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public unsafe struct IplImage
    {
        /// <summary>Bytes of this record.</summary>
        public int nSize;
        /// <summary>0.</summary>
        public int ID;
        /// <summary>Channels of a pixel.</summary>
        public int nChannels;
        /// <summary>Which of them is the alpha, 0 for none.</summary>
        public int alphaChannel;
        /// <summary>Bits of an element; the top bit says that it has a sign.</summary>
        public uint depth;
        /// <summary>"GRAY", "RGB" or "RGBA".</summary>
        public fixed byte colorModel[4];
        /// <summary>"GRAY", "BGR" or "BGRA".</summary>
        public fixed byte channelSeq[4];
        /// <summary>0 for pixels, 1 for planes.</summary>
        public int dataOrder;
        /// <summary>0 for the top row first, 1 for the bottom one.</summary>
        public int origin;
        /// <summary>The bytes that rows are padded to.</summary>
        public int align;
        /// <summary>Pixels of a row.</summary>
        public int width;
        /// <summary>Rows.</summary>
        public int height;
        /// <summary>What operations touch, all if null.</summary>
        public IplROI* roi;
        /// <summary>Where they leave pixels out, nowhere if null.</summary>
        public IplImage* maskROI;
        /// <summary>The program's own.</summary>
        public void* imageId;
        /// <summary>What supplies tiles, if there is no pixel block.</summary>
        public void* tileInfo;
        /// <summary>Bytes of the pixel block.</summary>
        public int imageSize;
        /// <summary>The first pixel.</summary>
        public byte* imageData;
        /// <summary>Bytes from one row to the next.</summary>
        public int widthStep;
        /// <summary>How pixels outside are made, for each side.</summary>
        public fixed int BorderMode[4];
        /// <summary>The values of those that are constant.</summary>
        public fixed int BorderConst[4];
        /// <summary>The block that the pixels lie in.</summary>
        public void* imageDataOrigin;
    }

    /// <summary>A rectangle.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct QuibRect
    {
        /// <summary>The first column.</summary>
        public int left;
        /// <summary>The first row.</summary>
        public int top;
        /// <summary>The column behind the last.</summary>
        public int right;
        /// <summary>The row behind the last.</summary>
        public int bottom;

        /// <summary>Makes one of its edges.</summary>
        public QuibRect(int left, int top, int right, int bottom)
        {
            this.left = left;
            this.top = top;
            this.right = right;
            this.bottom = bottom;
        }
    }

    /// <summary>A position.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct QuibPoint
    {
        /// <summary>The column.</summary>
        public int x;
        /// <summary>The row.</summary>
        public int y;
    }

    /// <summary>The size and form of an image.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct QuibInfo
    {
        /// <summary>Pixels of a row.</summary>
        public int width;
        /// <summary>Rows.</summary>
        public int height;
        /// <summary>Bits per pixel.</summary>
        public int bitDepth;
        /// <summary>Bytes from one row to the next.</summary>
        public int widthStep;
    }

    /// <summary>The functions of the library. All use C's calling convention, on every platform;
    /// each returns a status, 0 for success.</summary>
    public static unsafe class Native
    {
        /// <summary>QuibTool.dll on Windows; elsewhere a dllmap names the file.</summary>
        public const string Library = "QuibTool";

        // Handles
        /// <summary>Image is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibCreate(int width, int height, int bitDepth, IplImage** @out,
            uint fillColor);
        /// <summary>Image.Uninitialized is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibCreate0(int width, int height, int bitDepth, IplImage** @out);
        /// <summary>ImageHandle.ReleaseHandle is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibFree(IplImage** handleAddress);
        /// <summary>Image.Info is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibGetInfo(IplImage* handle, QuibInfo* info);
        /// <summary>Image.WithPixels is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibLockData(IplImage* handle, void** dataOut);
        /// <summary>Image.WithPixels is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibUnlockData(IplImage* handle);
        /// <summary>Image.Fill is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibFillColor(IplImage* handle, uint fillColor, QuibRect* rect);
        /// <summary>Image.IsBlack is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibIsBlack(IplImage* handle, uint threshold, int* result);
        /// <summary>Image.Copy is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibCopy(IplImage* src, IplImage** dstAddress);
        /// <summary>Image.Clone is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibClone(IplImage* src, IplImage** @out);

        // Transfer
        /// <summary>Image.Blt is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibBlt(IplImage* src, int srcLeft, int srcTop, int srcRight,
            int srcBottom, IplImage* dst, int dstLeft, int dstTop, int dstRight, int dstBottom,
            int stretch);
        /// <summary>Image.PanZoom is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibBlt_PANZOOM(IplImage* src, double srcX, double stepX,
            double srcY, double stepY, IplImage* dst, double dstLeft, double dstRight,
            double dstTop, double dstBottom, int mode);

        // Composition
        /// <summary>Image.Over is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibComposition3(IplImage* over, IplImage* under,
            IplImage** result);
        /// <summary>Image.DrawOn is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibComposition4(IplImage* over, IplImage* under,
            QuibPoint* position, QuibRect* rectangle);
        /// <summary>Image.SimplyOver is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibComposition_s(IplImage* over, IplImage* under,
            IplImage** result);

        // Alpha
        /// <summary>Image.SetAlpha is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibSetAlphaS(IplImage* handle, QuibRect* rect, uint alpha);
        /// <summary>Image.SetAlpha is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibSetAlpha(IplImage* handle, IplImage* plane, uint percent);

        // Alpha composites
        /// <summary>Image.CompositeWith is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibComposition1(IplImage* srcA, IplImage* srcB, IplImage** result,
            QuibRect* rectA, QuibRect* rectB, QuibRect* rectResult, int compositeType,
            int premulAlpha, int divideMode);
        /// <summary>Image.CompositeWithAlphas is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibComposition2(IplImage* srcA, IplImage* srcB, uint alphaA,
            uint alphaB, IplImage** result, QuibRect* rectA, QuibRect* rectB, QuibRect* rectResult,
            int compositeType);

        // Bitmaps in memory, BMP files, device contexts
        /// <summary>Image.FromDib is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int Dib2Quib(void* dibHandle, IplImage** @out, int targetDepth);
        /// <summary>Image.FromDibParts is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int Dib2Quib0(void* header, void* bits, IplImage** @out);
        /// <summary>Image.ToDib is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int Quib2Dib(IplImage* handle, void* dibHandle);
        /// <summary>Image.LoadBmp is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibLoadBMP(byte* fileName, IplImage** @out);
        /// <summary>Image.LoadPsd is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibLoadFramePsd2Bmp(byte* fileName, IplImage** outImage,
            IplImage** outMask);
        /// <summary>Image.DrawTo is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibDrawToHDC(IplImage* handle, void* hdc, int x, int y);

        // Size
        /// <summary>Image.Resize is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibResize(IplImage* src, IplImage* dst, int mode);
        /// <summary>Image.ResizeFit is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibResizeFit(IplImage* src, IplImage* dst, int mode);

        // Geometry
        /// <summary>Image.Flip is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibFlip(IplImage* src, IplImage* dst, int flipAxis);
        /// <summary>Image.Rotate is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibRotate(IplImage* src, IplImage* dst, double angle, int xCenter,
            int yCenter, int interpolate);
        /// <summary>Image.Rotate3D is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QUIBRotate3D(double angle, IplImage* src, IplImage** dst,
            int axis);
        /// <summary>Image.WarpAffine is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QUIBWarpAffine(IplImage* src, IplImage** dst, double* coeffs,
            int interpolate);
        /// <summary>Image.WarpPerspective is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QUIBWarpPerspective(IplImage* src, IplImage** dst, double* coeffs,
            int warpFlag, int interpolate);
        /// <summary>Image.WarpQuad is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QUIBWarpPerspectiveQ(IplImage* src, IplImage** dst, double* quad,
            int interpolate, [MarshalAs(UnmanagedType.I1)] bool warpFlag);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl,
            EntryPoint = "_Z21QUIBWarpPerspectiveQ_P9_IplImagePS0_PA2_Kdib")]
        private static extern int QUIBWarpPerspectiveQ_Elsewhere(IplImage* src, IplImage** dst,
            double* quad, int interpolate, [MarshalAs(UnmanagedType.I1)] bool warpFlag);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl,
            EntryPoint = "?QUIBWarpPerspectiveQ_@@YAJPAU_IplImage@@PAPAU1@QAY01$$CBNH_N@Z")]
        private static extern int QUIBWarpPerspectiveQ_32(IplImage* src, IplImage** dst,
            double* quad, int interpolate, [MarshalAs(UnmanagedType.I1)] bool warpFlag);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl,
            EntryPoint = "?QUIBWarpPerspectiveQ_@@YAJPEAU_IplImage@@PEAPEAU1@QEAY01$$CBNH_N@Z")]
        private static extern int QUIBWarpPerspectiveQ_64(IplImage* src, IplImage** dst,
            double* quad, int interpolate, [MarshalAs(UnmanagedType.I1)] bool warpFlag);
        /// <summary>Image.WarpQuadByEngine is its checked form.</summary>
        public static int QUIBWarpPerspectiveQ_(IplImage* src, IplImage** dst, double* quad,
            int interpolate, bool warpFlag)
        {
            if (!Platform.OnWindows)
                return QUIBWarpPerspectiveQ_Elsewhere(src, dst, quad, interpolate, warpFlag);
            return IntPtr.Size == 4 ? QUIBWarpPerspectiveQ_32(src, dst, quad, interpolate, warpFlag)
                : QUIBWarpPerspectiveQ_64(src, dst, quad, interpolate, warpFlag);
        }
        /// <summary>Image.PerspectiveQuad is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QUIBGetPerspectiveQuad(IplImage* src, double* coeffs,
            double* quad);
        /// <summary>Image.PerspectiveTransform is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QUIBPerspectiveTransform(IplImage* src, double* coeffs,
            double* quad);

        // Tone
        /// <summary>Image.BrightnessAndContrast is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibBrightnessAndContrast(IplImage* src, IplImage** dst,
            int brightness, int contrast, int channel);
        /// <summary>Image.HueAndSaturation is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibHueAndSaturation(IplImage* src, IplImage** dst, int hue,
            int saturation);

        // Gray
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl,
            EntryPoint = "_Z19QuibColorConversionP9_IplImageS0_")]
        private static extern int QuibColorConversionElsewhere(IplImage* a, IplImage* b);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl,
            EntryPoint = "?QuibColorConversion@@YAJPAU_IplImage@@0@Z")]
        private static extern int QuibColorConversion32(IplImage* a, IplImage* b);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl,
            EntryPoint = "?QuibColorConversion@@YAJPEAU_IplImage@@0@Z")]
        private static extern int QuibColorConversion64(IplImage* a, IplImage* b);
        /// <summary>Image.HasSizeOf is its checked form.</summary>
        public static int QuibColorConversion(IplImage* a, IplImage* b)
        {
            if (!Platform.OnWindows)
                return QuibColorConversionElsewhere(a, b);
            return IntPtr.Size == 4 ? QuibColorConversion32(a, b)
                : QuibColorConversion64(a, b);
        }
        /// <summary>Image.ToGray is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibColorToGray(IplImage* src, IplImage** dst);
        /// <summary>Image.BitonalToGray is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibBitonalToGray(IplImage* src, IplImage** dst, int zeroScale,
            int oneScale);

        // Drawing surfaces
        /// <summary>Image.DrawTo is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int Quib2Surface(IplImage* handle, void* surface);
        /// <summary>Image.DrawTo7 is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int Quib2Surface7(IplImage* handle, void* surface);
        /// <summary>Image.ReadFrom is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int Surface2Quib(void* surface, IplImage* handle);
        /// <summary>Image.DrawTo16 is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibToSurf_16(IplImage* handle, void* surface, int is565);

        // Fields of video frames
        /// <summary>Surface.Interlace is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibInterlace(void* target, uint mode);
        /// <summary>Image.UnInterlace is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibUnInterlace(IplImage* even, IplImage* odd, IplImage** dst);

        // Pixel operations
        /// <summary>Image.Add is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibAddS(IplImage* src, IplImage** outHandle, int value);
        /// <summary>Image.Multiply is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMultiplyS(IplImage* src, IplImage** outHandle, int value);
        /// <summary>Image.MultiplyScaled is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMultiplySScale(IplImage* src, IplImage** outHandle, int value);
        /// <summary>Image.Square is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibSquare(IplImage* src, IplImage** outHandle);
        /// <summary>Image.Abs is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibAbs(IplImage* src, IplImage** outHandle);
        /// <summary>Image.Add is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibAdd(IplImage* srcA, IplImage* srcB, IplImage** outHandle);
        /// <summary>Image.Subtract is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibSubtract(IplImage* srcA, IplImage* srcB, IplImage** outHandle);
        /// <summary>Image.Multiply is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMultiply(IplImage* srcA, IplImage* srcB, IplImage** outHandle);
        /// <summary>Image.MultiplyScaled is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMultiplyScale(IplImage* srcA, IplImage* srcB,
            IplImage** outHandle);
        /// <summary>Image.ShiftLeft is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibLShiftS(IplImage* src, IplImage** outHandle, uint nShift);
        /// <summary>Image.ShiftRight is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibRShiftS(IplImage* src, IplImage** outHandle, uint nShift);
        /// <summary>Image.Invert is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibNot(IplImage* src, IplImage** outHandle);
        /// <summary>Image.And is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibAndS(IplImage* src, IplImage** outHandle, int value);
        /// <summary>Image.Or is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibOrS(IplImage* src, IplImage** outHandle, int value);
        /// <summary>Image.Xor is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibXorS(IplImage* src, IplImage** outHandle, int value);
        /// <summary>Image.And is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibAnd(IplImage* srcA, IplImage* srcB, IplImage** outHandle);
        /// <summary>Image.Or is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibOr(IplImage* srcA, IplImage* srcB, IplImage** outHandle);
        /// <summary>Image.Xor is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibXor(IplImage* srcA, IplImage* srcB, IplImage** outHandle);

        // Convolution
        /// <summary>Kernel is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibCreateConvKernel(void** outKernel, int nCols, int nRows,
            int anchorX, int anchorY, int* values, int nShiftR);
        /// <summary>Kernel is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibCreateConvKernelChar(void** outKernel, int nCols, int nRows,
            int anchorX, int anchorY, sbyte* values, int nShiftR);
        /// <summary>Kernel.Taps is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibGetConvKernel(void* kernel, int* nCols, int* nRows,
            int* anchorX, int* anchorY, int** values, int* nShiftR);
        /// <summary>Kernel.SmallTaps is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibGetConvKernelChar(void* kernel, int* nCols, int* nRows,
            int* anchorX, int* anchorY, sbyte** values, int* nShiftR);
        /// <summary>KernelHandle.ReleaseHandle is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibDeleteConvKernel(void* kernel);
        /// <summary>Image.Convolve is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibConvolve2D(IplImage* src, IplImage** outHandle, void** kernels,
            int nKernels, int combineMethod);
        /// <summary>Image.ConvolveSeparable is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibConvolveSep2D(IplImage* src, IplImage** outHandle,
            void* xKernel, void* yKernel);

        // Filters
        /// <summary>Image.Max is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMaxFilter(IplImage* src, IplImage** outHandle, int nCols,
            int nRows, int anchorX, int anchorY);
        /// <summary>Image.Min is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMinFilter(IplImage* src, IplImage** outHandle, int nCols,
            int nRows, int anchorX, int anchorY);
        /// <summary>Image.Median is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMedianFilter(IplImage* src, IplImage** outHandle, int nCols,
            int nRows, int anchorX, int anchorY);
        /// <summary>Image.ColorMedian is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibColorMedianFilter(IplImage* src, IplImage** outHandle,
            int nCols, int nRows, int anchorX, int anchorY);
        /// <summary>Image.Blur is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibBlur(IplImage* src, IplImage** outHandle, int nCols, int nRows,
            int anchorX, int anchorY);
        /// <summary>Image.DecimateBlur is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibDecimateBlur(IplImage* src, IplImage* dst, int interpolate,
            int xMaskSize, int yMaskSize);
        /// <summary>Image.FixedFilter is its checked form.</summary>
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibFixedFilter(IplImage* src, IplImage** outHandle, int filter);
    }
}
