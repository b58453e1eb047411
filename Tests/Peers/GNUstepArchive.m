/* Writes and reads a release's record by GNUstep's archiver, an implementation of its own.

       gnustep-archive write FILE [key value]…   a URL "a b" is "a" relative to the base URL "b"
       gnustep-archive read FILE                 prints "key<TAB>class<TAB>value" lines, without nil fields
       gnustep-archive measure FILE COUNT        prints the microseconds of one decoding and of one encoding

   A product name is written as a mutable string, everything else as a plain one. */

#import <Foundation/Foundation.h>

#include <stdio.h>

static NSString *const numberKey = @"versionIdentifier";
static NSArray *objectKeys;

@interface MBWSWUpdateInfo : NSObject <NSCoding>
{
@public
    NSMutableDictionary *fields;
}
@end

@implementation MBWSWUpdateInfo

- (id)init
{
    self = [super init];
    fields = [NSMutableDictionary new];
    return self;
}

- (void)dealloc
{
    [fields release];
    [super dealloc];
}

- (id)initWithCoder:(NSCoder *)coder
{
    self = [self init];
    NSUInteger i;
    for (i = 0; i < [objectKeys count]; ++i) {
        id object = [coder decodeObjectForKey:[objectKeys objectAtIndex:i]];
        if (object)
            [fields setObject:object forKey:[objectKeys objectAtIndex:i]];
    }
    [fields setObject:[NSNumber numberWithLongLong:[coder decodeInt64ForKey:numberKey]] forKey:numberKey];
    return self;
}

- (void)encodeWithCoder:(NSCoder *)coder
{
    NSUInteger i;
    for (i = 0; i < [objectKeys count]; ++i) {
        NSString *key = [objectKeys objectAtIndex:i];
        [coder encodeObject:[fields objectForKey:key] forKey:key];
    }
    [coder encodeInt64:[[fields objectForKey:numberKey] longLongValue] forKey:numberKey];
}

@end

static id valueOfText(NSString *key, NSString *text)
{
    if ([key isEqualToString:numberKey])
        return [NSNumber numberWithLongLong:[text longLongValue]];
    if ([key isEqualToString:@"productName"])
        return [NSMutableString stringWithString:text];
    if (![key hasSuffix:@"URL"])
        return text;
    NSArray *parts = [text componentsSeparatedByString:@" "];
    NSURL *base = [parts count] > 1 ? [NSURL URLWithString:[parts objectAtIndex:1]] : nil;
    return [NSURL URLWithString:[parts objectAtIndex:0] relativeToURL:base];
}

static int writeRecord(NSString *path, NSArray *arguments)
{
    MBWSWUpdateInfo *record = [[MBWSWUpdateInfo new] autorelease];
    NSUInteger i;
    for (i = 0; i + 1 < [arguments count]; i += 2) {
        NSString *key = [arguments objectAtIndex:i];
        [record->fields setObject:valueOfText(key, [arguments objectAtIndex:i + 1]) forKey:key];
    }
    return [[NSKeyedArchiver archivedDataWithRootObject:record] writeToFile:path atomically:NO] ? 0 : 1;
}

static int readRecord(NSString *path)
{
    MBWSWUpdateInfo *record = [NSKeyedUnarchiver unarchiveObjectWithFile:path];
    if (![record isKindOfClass:[MBWSWUpdateInfo class]])
        return 1;
    NSArray *keys = [[record->fields allKeys] sortedArrayUsingSelector:@selector(compare:)];
    NSUInteger i;
    for (i = 0; i < [keys count]; ++i) {
        NSString *key = [keys objectAtIndex:i];
        id value = [record->fields objectForKey:key];
        NSString *kind = [value isKindOfClass:[NSURL class]]      ? @"URL"
                         : [value isKindOfClass:[NSString class]] ? @"string"
                                                                  : @"number";
        NSString *text = [value isKindOfClass:[NSURL class]] ? [value absoluteString] : [value description];
        printf("%s\t%s\t%s\n", [key UTF8String], [kind UTF8String], [text UTF8String]);
    }
    return 0;
}

/* Microseconds of each of `count` pieces of work since a moment. */
static double microseconds(NSDate *start, int count) { return -1e6 * [start timeIntervalSinceNow] / count; }

static int measure(NSString *path, int count)
{
    NSData *data = [NSData dataWithContentsOfFile:path];
    MBWSWUpdateInfo *record = [[NSKeyedUnarchiver unarchiveObjectWithData:data] retain];
    if (![record isKindOfClass:[MBWSWUpdateInfo class]])
        return 1;
    int i;
    NSDate *start = [NSDate date];
    for (i = 0; i < count; ++i) {
        NSAutoreleasePool *pool = [NSAutoreleasePool new];
        [NSKeyedUnarchiver unarchiveObjectWithData:data];
        [pool release];
    }
    const double decoding = microseconds(start, count);
    start = [NSDate date];
    for (i = 0; i < count; ++i) {
        NSAutoreleasePool *pool = [NSAutoreleasePool new];
        [NSKeyedArchiver archivedDataWithRootObject:record];
        [pool release];
    }
    printf("%f %f\n", decoding, microseconds(start, count));
    return 0;
}

int main(void)
{
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    objectKeys = [[@"productIdentifier productName versionString directDownloadURL productPageURL"
                    " updateInfoURL appStoreURL systemVersion" componentsSeparatedByString:@" "] retain];
    NSArray *arguments = [[NSProcessInfo processInfo] arguments];
    NSString *command = [arguments count] > 2 ? [arguments objectAtIndex:1] : @"";
    NSString *path = [arguments count] > 2 ? [arguments objectAtIndex:2] : @"";
    int result = 2;
    if ([command isEqualToString:@"write"])
        result = writeRecord(path, [arguments subarrayWithRange:NSMakeRange(3, [arguments count] - 3)]);
    else if ([command isEqualToString:@"read"])
        result = readRecord(path);
    else if ([command isEqualToString:@"measure"])
        result = measure(path, [[arguments lastObject] intValue]);
    [pool release];
    return result;
}
