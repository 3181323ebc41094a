// The library's records, constants and 79 functions, as its C header declares them.
// Nothing is checked here: a wrong address crashes the process, and what the engine
// refuses, or memory that runs out for pixels, ends it with exit(1). Image and the
// classes beside it check their arguments first.
using System;
using System.Runtime.InteropServices;

namespace QuibTool
{
    /// <summary>The region of an image that an operation touches.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct IplROI
    {
        public int coi, xOffset, yOffset, width, height;
    }

    /// <summary>An image; its address is a handle.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public unsafe struct IplImage
    {
        public int nSize, ID, nChannels, alphaChannel;
        public uint depth;
        public fixed byte colorModel[4];
        public fixed byte channelSeq[4];
        public int dataOrder, origin, align, width, height;
        public IplROI* roi;
        public IplImage* maskROI;
        public void* imageId;
        public void* tileInfo;
        public int imageSize;
        public byte* imageData;
        public int widthStep;
        public fixed int BorderMode[4];
        public fixed int BorderConst[4];
        public void* imageDataOrigin;
    }

    /// <summary>A rectangle; right and bottom are exclusive.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct QuibRect
    {
        public int left, top, right, bottom;

        public QuibRect(int left, int top, int right, int bottom)
        {
            this.left = left;
            this.top = top;
            this.right = right;
            this.bottom = bottom;
        }
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct QuibPoint
    {
        public int x, y;
    }

    /// <summary>Pixels, rows, bits per pixel, bytes from one row to the next.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct QuibInfo
    {
        public int width, height, bitDepth, widthStep;
    }

    /// <summary>The functions of the library. All use C's calling convention, on every platform;
    /// each returns a status, 0 for success.</summary>
    public static unsafe class Native
    {
        /// <summary>QuibTool.dll on Windows; elsewhere a dllmap names the file.</summary>
        public const string Library = "QuibTool";

        private static readonly bool OnWindows =
            Environment.OSVersion.Platform == PlatformID.Win32NT;

        // Handles
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibCreate(int width, int height, int bitDepth, IplImage** @out,
            uint fillColor);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibCreate0(int width, int height, int bitDepth, IplImage** @out);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibFree(IplImage** handleAddress);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibGetInfo(IplImage* handle, QuibInfo* info);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibLockData(IplImage* handle, void** dataOut);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibUnlockData(IplImage* handle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibFillColor(IplImage* handle, uint fillColor, QuibRect* rect);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibIsBlack(IplImage* handle, uint threshold, int* result);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibCopy(IplImage* src, IplImage** dstAddress);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibClone(IplImage* src, IplImage** @out);

        // Transfer
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibBlt(IplImage* src, int srcLeft, int srcTop, int srcRight,
            int srcBottom, IplImage* dst, int dstLeft, int dstTop, int dstRight, int dstBottom,
            int stretch);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibBlt_PANZOOM(IplImage* src, double srcX, double stepX,
            double srcY, double stepY, IplImage* dst, double dstLeft, double dstRight,
            double dstTop, double dstBottom, int mode);

        // Composition
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibComposition3(IplImage* over, IplImage* under,
            IplImage** result);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibComposition4(IplImage* over, IplImage* under,
            QuibPoint* position, QuibRect* rectangle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibComposition_s(IplImage* over, IplImage* under,
            IplImage** result);

        // Alpha
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibSetAlphaS(IplImage* handle, QuibRect* rect, uint alpha);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibSetAlpha(IplImage* handle, IplImage* plane, uint percent);

        // Alpha composites
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibComposition1(IplImage* srcA, IplImage* srcB, IplImage** result,
            QuibRect* rectA, QuibRect* rectB, QuibRect* rectResult, int compositeType,
            int premulAlpha, int divideMode);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibComposition2(IplImage* srcA, IplImage* srcB, uint alphaA,
            uint alphaB, IplImage** result, QuibRect* rectA, QuibRect* rectB, QuibRect* rectResult,
            int compositeType);

        // Bitmaps in memory, BMP files, device contexts
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int Dib2Quib(void* dibHandle, IplImage** @out, int targetDepth);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int Dib2Quib0(void* header, void* bits, IplImage** @out);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int Quib2Dib(IplImage* handle, void* dibHandle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibLoadBMP(byte* fileName, IplImage** @out);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibLoadFramePsd2Bmp(byte* fileName, IplImage** outImage,
            IplImage** outMask);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibDrawToHDC(IplImage* handle, void* hdc, int x, int y);

        // Size
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibResize(IplImage* src, IplImage* dst, int mode);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibResizeFit(IplImage* src, IplImage* dst, int mode);

        // Geometry
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibFlip(IplImage* src, IplImage* dst, int flipAxis);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibRotate(IplImage* src, IplImage* dst, double angle, int xCenter,
            int yCenter, int interpolate);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QUIBRotate3D(double angle, IplImage* src, IplImage** dst,
            int axis);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QUIBWarpAffine(IplImage* src, IplImage** dst, double* coeffs,
            int interpolate);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QUIBWarpPerspective(IplImage* src, IplImage** dst, double* coeffs,
            int warpFlag, int interpolate);
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
        public static int QUIBWarpPerspectiveQ_(IplImage* src, IplImage** dst, double* quad,
            int interpolate, bool warpFlag)
        {
            if (!OnWindows)
                return QUIBWarpPerspectiveQ_Elsewhere(src, dst, quad, interpolate, warpFlag);
            return IntPtr.Size == 4 ? QUIBWarpPerspectiveQ_32(src, dst, quad, interpolate, warpFlag)
                : QUIBWarpPerspectiveQ_64(src, dst, quad, interpolate, warpFlag);
        }
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QUIBGetPerspectiveQuad(IplImage* src, double* coeffs,
            double* quad);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QUIBPerspectiveTransform(IplImage* src, double* coeffs,
            double* quad);

        // Tone
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibBrightnessAndContrast(IplImage* src, IplImage** dst,
            int brightness, int contrast, int channel);
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
        public static int QuibColorConversion(IplImage* a, IplImage* b)
        {
            if (!OnWindows)
                return QuibColorConversionElsewhere(a, b);
            return IntPtr.Size == 4 ? QuibColorConversion32(a, b)
                : QuibColorConversion64(a, b);
        }
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibColorToGray(IplImage* src, IplImage** dst);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibBitonalToGray(IplImage* src, IplImage** dst, int zeroScale,
            int oneScale);

        // Drawing surfaces
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int Quib2Surface(IplImage* handle, void* surface);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int Quib2Surface7(IplImage* handle, void* surface);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int Surface2Quib(void* surface, IplImage* handle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibToSurf_16(IplImage* handle, void* surface, int is565);

        // Fields of video frames
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibInterlace(void* target, uint mode);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibUnInterlace(IplImage* even, IplImage* odd, IplImage** dst);

        // Pixel operations
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibAddS(IplImage* src, IplImage** outHandle, int value);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMultiplyS(IplImage* src, IplImage** outHandle, int value);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMultiplySScale(IplImage* src, IplImage** outHandle, int value);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibSquare(IplImage* src, IplImage** outHandle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibAbs(IplImage* src, IplImage** outHandle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibAdd(IplImage* srcA, IplImage* srcB, IplImage** outHandle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibSubtract(IplImage* srcA, IplImage* srcB, IplImage** outHandle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMultiply(IplImage* srcA, IplImage* srcB, IplImage** outHandle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMultiplyScale(IplImage* srcA, IplImage* srcB,
            IplImage** outHandle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibLShiftS(IplImage* src, IplImage** outHandle, uint nShift);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibRShiftS(IplImage* src, IplImage** outHandle, uint nShift);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibNot(IplImage* src, IplImage** outHandle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibAndS(IplImage* src, IplImage** outHandle, int value);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibOrS(IplImage* src, IplImage** outHandle, int value);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibXorS(IplImage* src, IplImage** outHandle, int value);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibAnd(IplImage* srcA, IplImage* srcB, IplImage** outHandle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibOr(IplImage* srcA, IplImage* srcB, IplImage** outHandle);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibXor(IplImage* srcA, IplImage* srcB, IplImage** outHandle);

        // Convolution
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibCreateConvKernel(void** outKernel, int nCols, int nRows,
            int anchorX, int anchorY, int* values, int nShiftR);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibCreateConvKernelChar(void** outKernel, int nCols, int nRows,
            int anchorX, int anchorY, sbyte* values, int nShiftR);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibGetConvKernel(void* kernel, int* nCols, int* nRows,
            int* anchorX, int* anchorY, int** values, int* nShiftR);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibGetConvKernelChar(void* kernel, int* nCols, int* nRows,
            int* anchorX, int* anchorY, sbyte** values, int* nShiftR);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibDeleteConvKernel(void* kernel);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibConvolve2D(IplImage* src, IplImage** outHandle, void** kernels,
            int nKernels, int combineMethod);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibConvolveSep2D(IplImage* src, IplImage** outHandle,
            void* xKernel, void* yKernel);

        // Filters
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMaxFilter(IplImage* src, IplImage** outHandle, int nCols,
            int nRows, int anchorX, int anchorY);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMinFilter(IplImage* src, IplImage** outHandle, int nCols,
            int nRows, int anchorX, int anchorY);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibMedianFilter(IplImage* src, IplImage** outHandle, int nCols,
            int nRows, int anchorX, int anchorY);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibColorMedianFilter(IplImage* src, IplImage** outHandle,
            int nCols, int nRows, int anchorX, int anchorY);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibBlur(IplImage* src, IplImage** outHandle, int nCols, int nRows,
            int anchorX, int anchorY);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibDecimateBlur(IplImage* src, IplImage* dst, int interpolate,
            int xMaskSize, int yMaskSize);
        [DllImport(Library, CallingConvention = CallingConvention.Cdecl)]
        public static extern int QuibFixedFilter(IplImage* src, IplImage** outHandle, int filter);
    }
}
