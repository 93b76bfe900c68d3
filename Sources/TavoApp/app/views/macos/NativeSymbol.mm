#include "app/views/macos/NativeSymbol.h"

#import <AppKit/AppKit.h>

namespace tavo {

std::vector<std::uint8_t> nativeSymbolCoverage(const std::string& name, int pixels) {
    constexpr NSInteger bitsASample = 8;
    constexpr NSInteger samplesAPixel = 4;
    std::vector<std::uint8_t> coverage;
    @autoreleasepool {
        NSImage* symbol = [NSImage imageWithSystemSymbolName:[NSString stringWithUTF8String:name.c_str()]
                                    accessibilityDescription:nil];
        if (symbol == nil) {
            return coverage;
        }
        NSBitmapImageRep* bitmap =
            [[[NSBitmapImageRep alloc] initWithBitmapDataPlanes:nullptr
                                                     pixelsWide:pixels
                                                     pixelsHigh:pixels
                                                  bitsPerSample:bitsASample
                                                samplesPerPixel:samplesAPixel
                                                       hasAlpha:YES
                                                       isPlanar:NO
                                                 colorSpaceName:NSCalibratedRGBColorSpace
                                                    bytesPerRow:pixels * samplesAPixel
                                                   bitsPerPixel:bitsASample * samplesAPixel] autorelease];
        // As large as possible, centred.
        const NSSize size = [symbol size];
        const double scale = pixels / (size.width > size.height ? size.width : size.height);
        const NSRect place = NSMakeRect((pixels - size.width * scale) / 2, (pixels - size.height * scale) / 2,
                                        size.width * scale, size.height * scale);
        [NSGraphicsContext saveGraphicsState];
        [NSGraphicsContext setCurrentContext:[NSGraphicsContext graphicsContextWithBitmapImageRep:bitmap]];
        [symbol drawInRect:place fromRect:NSZeroRect operation:NSCompositingOperationSourceOver fraction:1.0];
        [NSGraphicsContext restoreGraphicsState];
        const unsigned char* samples = [bitmap bitmapData];
        for (int pixel = 0; pixel < pixels * pixels; ++pixel) {
            coverage.push_back(samples[pixel * samplesAPixel + samplesAPixel - 1]);
        }
    }
    return coverage;
}

} // namespace tavo
