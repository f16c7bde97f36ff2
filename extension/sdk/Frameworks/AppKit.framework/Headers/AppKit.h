#pragma once

// What the adapters use of AppKit, and no more; see ../../../README.md.

#include <Foundation/Foundation.h>

#pragma clang assume_nonnull begin

typedef double CGFloat;
typedef CGFloat NSFontWeight;
extern "C" const NSFontWeight NSFontWeightRegular;
extern "C" const NSFontWeight NSFontWeightSemibold;

// The center and the right have changed places on the older processor.
typedef NS_ENUM(NSInteger, NSTextAlignment) {
  NSTextAlignmentLeft = 0,
#if defined(__x86_64__)
  NSTextAlignmentRight = 1,
  NSTextAlignmentCenter = 2,
#else
  NSTextAlignmentCenter = 1,
  NSTextAlignmentRight = 2,
#endif
  NSTextAlignmentJustified = 3,
  NSTextAlignmentNatural = 4
};

typedef NS_ENUM(NSUInteger, NSLineBreakMode) {
  NSLineBreakByWordWrapping = 0,
  NSLineBreakByClipping = 2
};

typedef NS_ENUM(NSInteger, NSUserInterfaceLayoutOrientation) {
  NSUserInterfaceLayoutOrientationHorizontal = 0,
  NSUserInterfaceLayoutOrientationVertical = 1
};

typedef NS_ENUM(NSInteger, NSLayoutAttribute) {
  NSLayoutAttributeNotAnAttribute = 0,
  NSLayoutAttributeLeading = 5,
  NSLayoutAttributeTrailing = 6,
  NSLayoutAttributeWidth = 7,
  NSLayoutAttributeCenterX = 9,
  NSLayoutAttributeCenterY = 10
};

@class NSLayoutXAxisAnchor, NSLayoutYAxisAnchor, NSLayoutDimension;

typedef NS_ENUM(NSInteger, NSLayoutRelation) {
  NSLayoutRelationLessThanOrEqual = -1,
  NSLayoutRelationEqual = 0,
  NSLayoutRelationGreaterThanOrEqual = 1
};

@interface NSLayoutConstraint : NSObject
@property(nullable, readonly, assign) id firstItem;
@property(readonly) NSLayoutAttribute firstAttribute;
@property(readonly) NSLayoutRelation relation;
@property(nullable, readonly, assign) id secondItem;
@property(readonly) NSLayoutAttribute secondAttribute;
@property CGFloat constant;
@property(getter=isActive) BOOL active;
+ (void)activateConstraints:(NSArray<NSLayoutConstraint*>*)constraints;
@end

@interface NSLayoutAnchor<AnchorType> : NSObject <NSCopying>
- (NSLayoutConstraint*)constraintEqualToAnchor:(NSLayoutAnchor<AnchorType>*)anchor
                                      constant:(CGFloat)constant;
- (NSLayoutConstraint*)constraintGreaterThanOrEqualToAnchor:(NSLayoutAnchor<AnchorType>*)anchor
                                                   constant:(CGFloat)constant;
- (NSLayoutConstraint*)constraintLessThanOrEqualToAnchor:(NSLayoutAnchor<AnchorType>*)anchor
                                                constant:(CGFloat)constant;
@end

@interface NSLayoutXAxisAnchor : NSLayoutAnchor <NSLayoutXAxisAnchor*>
@end

@interface NSLayoutYAxisAnchor : NSLayoutAnchor <NSLayoutYAxisAnchor*>
@end

@interface NSLayoutDimension : NSLayoutAnchor <NSLayoutDimension*>
- (NSLayoutConstraint*)constraintEqualToConstant:(CGFloat)constant;
- (NSLayoutConstraint*)constraintGreaterThanOrEqualToConstant:(CGFloat)constant;
- (NSLayoutConstraint*)constraintLessThanOrEqualToConstant:(CGFloat)constant;
@end

@interface NSFont : NSObject <NSCopying>
+ (NSFont*)systemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight;
@end

@interface NSResponder : NSObject
@end

@interface NSView : NSResponder
@property(copy) NSArray<__kindof NSView*>* subviews;
@property BOOL translatesAutoresizingMaskIntoConstraints;
@property(readonly, strong) NSLayoutXAxisAnchor* leadingAnchor;
@property(readonly, strong) NSLayoutXAxisAnchor* trailingAnchor;
@property(readonly, strong) NSLayoutXAxisAnchor* centerXAnchor;
@property(readonly, strong) NSLayoutYAxisAnchor* centerYAnchor;
@property(readonly, strong) NSLayoutDimension* widthAnchor;
@property(readonly) NSArray<NSLayoutConstraint*>* constraints;
- (void)addSubview:(NSView*)view;
- (void)removeFromSuperview;
@end

@interface NSControl : NSView
@property(nullable, strong) NSFont* font;
@property NSTextAlignment alignment;
@property NSLineBreakMode lineBreakMode;
@property(copy) NSString* stringValue;
@property(nullable, weak) id target;
@property(nullable) SEL action;
- (void)performClick:(nullable id)sender;
@end

@interface NSTextField : NSControl
+ (instancetype)labelWithString:(NSString*)string;
@property NSInteger maximumNumberOfLines;
@end

@interface NSButton : NSControl
+ (instancetype)buttonWithTitle:(NSString*)title
                         target:(nullable id)target
                         action:(nullable SEL)action;
@property(copy) NSString* title;
@property(copy) NSString* keyEquivalent;
@end

@interface NSStackView : NSView
+ (instancetype)stackViewWithViews:(NSArray<NSView*>*)views;
@property(readonly, copy) NSArray<__kindof NSView*>* arrangedSubviews;
@property NSUserInterfaceLayoutOrientation orientation;
@property NSLayoutAttribute alignment;
@property CGFloat spacing;
@end

@interface NSViewController : NSResponder
@property(strong) NSView* view;
@end

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
- (BOOL)openURL:(NSURL*)url;
@end

@interface NSRunningApplication : NSObject
+ (NSArray<NSRunningApplication*>*)runningApplicationsWithBundleIdentifier:
    (NSString*)bundleIdentifier;
@end

#pragma clang assume_nonnull end
