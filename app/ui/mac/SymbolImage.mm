#include "SymbolImage.h"

#import <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

#include <cmath>

// AppKit is loaded by the application (Qt links it), but this file is built against Foundation alone: the few
// NSImage messages it sends are declared here.
@protocol LKSymbolImage <NSObject>
- (nullable instancetype)imageWithSymbolConfiguration:(id)configuration;
- (nullable CGImageRef)CGImageForProposedRect:(nullable CGRect*)proposedDestRect
                                      context:(nullable id)referenceContext
                                        hints:(nullable NSDictionary*)hints;
- (CGSize)size;
@end

@protocol LKSymbolImageClass <NSObject>
+ (nullable id<LKSymbolImage>)imageWithSystemSymbolName:(NSString*)name
                               accessibilityDescription:(nullable NSString*)description;
@end

@protocol LKSymbolConfigurationClass <NSObject>
+ (id)configurationWithPointSize:(CGFloat)pointSize weight:(CGFloat)weight;
@end

namespace lorekeep::ui::mac {

SymbolBitmap drawSymbol(const std::string& name, const std::string& accessibilityText, double pointSize, int pixels,
                        double rotation) {
    SymbolBitmap bitmap;
    if (pixels <= 0)
        return bitmap;
    @autoreleasepool {
        @try {
            Class imageClass = NSClassFromString(@"NSImage");
            Class configurationClass = NSClassFromString(@"NSImageSymbolConfiguration");
            if (!imageClass || !configurationClass)
                return bitmap;
            NSString* symbolName = [NSString stringWithUTF8String:name.c_str()];
            NSString* description = [NSString stringWithUTF8String:accessibilityText.c_str()];
            if (!symbolName)
                return bitmap;
            id<LKSymbolImage> image = [(id<LKSymbolImageClass>)imageClass imageWithSystemSymbolName:symbolName
                                                                           accessibilityDescription:description];
            if (!image)
                return bitmap;
            // NSFontWeightRegular is 0.
            id configuration = [(id<LKSymbolConfigurationClass>)configurationClass configurationWithPointSize:pointSize
                                                                                                       weight:0.0];
            if (id<LKSymbolImage> configured = [image imageWithSymbolConfiguration:configuration])
                image = configured;
            CGImageRef shape = [image CGImageForProposedRect:nullptr context:nil hints:nil];
            if (!shape)
                return bitmap;

            bitmap.width = pixels;
            bitmap.height = pixels;
            bitmap.rgba.assign(std::size_t(pixels) * std::size_t(pixels) * 4, 0);
            CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
            CGContextRef context = CGBitmapContextCreate(
                bitmap.rgba.data(), std::size_t(pixels), std::size_t(pixels), 8, std::size_t(pixels) * 4, space,
                CGBitmapInfo(kCGImageAlphaPremultipliedLast) | kCGBitmapByteOrder32Big);
            CGColorSpaceRelease(space);
            if (!context) {
                bitmap = {};
                return bitmap;
            }
            // Fit the symbol's own proportions into the square, keeping its aspect.
            const CGSize natural = [image size];
            const double scale =
                std::min(pixels / std::max(1.0, double(natural.width)), pixels / std::max(1.0, double(natural.height)));
            const double width = natural.width * scale;
            const double height = natural.height * scale;
            CGContextTranslateCTM(context, pixels / 2.0, pixels / 2.0);
            // Core Graphics turns counter-clockwise for positive angles with its y axis pointing up.
            CGContextRotateCTM(context, -rotation * M_PI / 180.0);
            CGContextDrawImage(context, CGRectMake(-width / 2, -height / 2, width, height), shape);
            // The symbol comes in black already; make sure of it, as a template image wants.
            CGContextSetBlendMode(context, kCGBlendModeSourceIn);
            CGContextSetRGBFillColor(context, 0, 0, 0, 1);
            CGContextFillRect(context, CGRectMake(-pixels, -pixels, 2.0 * pixels, 2.0 * pixels));
            CGContextRelease(context);
        } @catch (NSException*) {
            bitmap = {};
        }
    }
    return bitmap;
}

} // namespace lorekeep::ui::mac
