#import "differential/GnustepDecoding.h"

id korvanGnustepPropertyList(NSData* data, NSString** reason) {
  @try {
    NSPropertyListFormat format = NSPropertyListXMLFormat_v1_0;
    NSError* error = nil;
    id value = [NSPropertyListSerialization propertyListWithData:data
                                                         options:NSPropertyListImmutable
                                                          format:&format
                                                           error:&error];
    *reason = value == nil ? [error description] : nil;
    return value;
  } @catch (NSException* exception) {
    *reason = [exception reason];
    return nil;
  }
}
