/* host.h - libzeva: the host for programs in C, and for bindings of other languages.
 *
 *   ZevaClass const* isa;
 *   ZevaMember const* radius;
 *   ZevaObject* blur;
 *   ZevaOpenHost(NULL);
 *   ZevaFindClass("GaussianBlur", &isa);
 *   ZevaFindMember(isa, "radius", 0, &radius);
 *   ZevaConstruct(isa, NULL, 0, &blur);
 *   ZevaSetNumber(blur, radius, 8);
 *
 * Classes and members are handles with public facts, read from the records of the modules. Look each up once, then use
 * the handle. They and their texts are valid until the process ends.
 *
 * Owner:   an object that a function returns comes with one reference for the caller, who releases it with
 *          ZevaRelease. Arguments are borrowed. A text that a value returns lives until ZevaReleaseValue.
 * Failure: every function with a status returns kZevaDone or says why not in ZevaLastError. Nothing is changed then,
 *          and results are null, apart from what a module did before it raised an exception.
 * Thread:  any. One lock is held during each call, and an autorelease pool is open around each call of a module, so
 *          calls of several threads happen one after the other. A thread that releases an object while another one
 *          renders does not wait. A process that was forked from one with a host cannot use it: its calls fail.
 * Text:    UTF-8 where it is text. Names of files are bytes.
 */
#ifndef ZEVA_HOST_H
#define ZEVA_HOST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define ZEVA_API __attribute__((visibility("default")))

/* ---- Facts */

typedef enum ZevaStatus {
    kZevaDone = 0,
    kZevaRefused = 1,     /* the host refuses: an unknown name, a wrong type. Nothing was called */
    kZevaRaised = 2,      /* a module raised an exception */
    kZevaOutOfMemory = 3, /* there is no memory for an object, a text or a block */
    kZevaForked = 4       /* the host belongs to the process that this one was forked from */
} ZevaStatus;

/* The kind of a value, and of the values that a property or parameter takes. */
typedef enum ZevaKind {
    kZevaNil = 0,
    kZevaNumber = 1,  /* a double */
    kZevaInteger = 2, /* 32 bits */
    kZevaBoolean = 3,
    kZevaText = 4,
    kZevaObject = 5
} ZevaKind;

typedef enum ZevaMemberKind { kZevaProperty = 0, kZevaMethod = 1, kZevaConstructor = 2 } ZevaMemberKind;

/* An object of the host. Opaque. */
typedef struct ZEVAobjectStruct ZevaObject;

/* A declared type. `word` is the one of the declaration: "double", "memoryblock", "CIImageQOR". */
typedef struct ZevaType {
    int32_t kind; /* ZevaKind; kZevaNil for a method without a result */
    const char* word;
    const char* className; /* the class that an object must have; empty for other kinds */
} ZevaType;

typedef struct ZevaParameter {
    const char* name;      /* as declared: "workingSpace" */
    const char* shortName; /* "working_space" */
    ZevaType type;
} ZevaParameter;

typedef struct ZevaClass ZevaClass;

/* A property, method or constructor. The handle by which it is used. */
typedef struct ZevaMember {
    const ZevaClass* isa;  /* the class that declares it */
    const char* name;      /* as declared: "inputRadius" */
    const char* shortName; /* in lower case without "input": "radius", "save_with_quality" */
    int32_t kind;          /* ZevaMemberKind */
    int32_t isShared;      /* 1 for a member of the class, which needs no object */
    int32_t isReadOnly;    /* 1 for a property without a setter */
    int32_t parameterCount;
    const ZevaParameter* parameters;
    ZevaType result; /* the type of a property, or of what a method returns */
} ZevaMember;

/* A class that a module has registered. */
struct ZevaClass {
    const char* name;            /* "CIFilterGaussianBlurQOR" */
    const char* shortName;       /* of a filter's class: "gaussian_blur"; empty for others */
    const char* title;           /* of a filter's class: "GaussianBlur"; empty for others */
    const ZevaClass* superclass; /* null for a root class, and while the superclass is not registered */
    int32_t recordVersion;
    int32_t memberCount;
    const ZevaMember* const* members; /* what the class itself declares, shared members last */
};

/* A value. Results that are texts or objects own one reference: release them with ZevaReleaseValue, or keep the object
 * and release it with ZevaRelease. */
typedef struct ZevaValue {
    int32_t kind; /* ZevaKind */
    int32_t size; /* of a text, in bytes */
    union {
        double number;
        int32_t integer;  /* also a boolean, 0 or 1 */
        const char* text; /* need not end with a zero as an argument; does as a result */
        ZevaObject* object;
    } as;
    const ZevaClass* isa; /* of an object that is a result; ignored in arguments */
    void* owner;          /* of a text that is a result; ignored in arguments */
} ZevaValue;

/* Why the latest call of this thread that failed did so. */
typedef struct ZevaError {
    int32_t status;        /* ZevaStatus */
    int32_t number;        /* the system's error number, or the exception's; 0 for none */
    const char* className; /* of the exception that a module raised; empty for any other failure */
    const char* message;   /* "CIImageQOR.Crop: expected CIVectorQOR for rectangle, got nil" */
} ZevaError;

/* Receives a message that no caller can receive, one line. Called with the lock held, on the thread of a call; it must
 * not call the library. */
typedef void (*ZevaReport)(const char* message, void* context);

/* Called when a block no longer needs the caller's bytes, on any thread, possibly with the lock held. */
typedef void (*ZevaForget)(void* context);

typedef struct ZevaHostOptions {
    double version;       /* of the host that modules read; 0 for the newest. It decides the version of the records */
    int32_t hasNoModules; /* 1: only modules that ZevaLoadModule loads */
    ZevaReport report;    /* null: messages go to standard error */
    void* reportContext;
} ZevaHostOptions;

/* ---- Host and modules */

/* Makes the host of this process and loads the companion and the filter module, which lie in the folder "modules"
 * beside the library's. Null means the defaults.
 *
 * Fails: there is a host already; a module is missing or raises. In the last two cases the host remains without it. */
ZEVA_API ZevaStatus ZevaOpenHost(const ZevaHostOptions* options);

/* Ends the host. Modules stay in the process, and a module can be loaded once in a process: another host can load
 * other modules only. Handles of this host must not be used any more.
 *
 * Fails: objects or texts are still referenced; the host remains. */
ZEVA_API ZevaStatus ZevaCloseHost(void);

/* Loads a module, which registers its classes.
 *
 * Fails: the file is not a module; the module raises. The classes that it registered before that remain. */
ZEVA_API ZevaStatus ZevaLoadModule(const char* path);

/* Returns why the latest failed call of this thread failed. Owned by the library and valid until the next failure on
 * the thread. Never null. */
ZEVA_API const ZevaError* ZevaLastError(void);

/* Counts the objects and texts of the host that exist. Either pointer may be null. */
ZEVA_API ZevaStatus ZevaCountReferences(int64_t* objects, int64_t* texts);

/* ---- Classes and members */

/* Returns the class that was registered after another one; the first for null, and null after the last and without a
 * host. */
ZEVA_API const ZevaClass* ZevaNextClass(const ZevaClass* previous);

/* Finds a class by its name, or a filter's class also as "GaussianBlur", "CIGaussianBlur" or "gaussian_blur".
 *
 * Fails: there is none: the message suggests one. Several have the short name: the message lists their names. A
 *        superclass is not registered. */
ZEVA_API ZevaStatus ZevaFindClass(const char* name, const ZevaClass** result);

/* Finds a member by its name or short name, in a class and then in its superclasses; a constructor has no name.
 *
 * Fails: there is none: the message suggests one. Several have the short name: the message lists their names. */
ZEVA_API ZevaStatus ZevaFindMember(const ZevaClass* isa, const char* name, int32_t isShared, const ZevaMember** result);

/* Returns a text in JSON with what people want to know of a class: title and description, for each property its type,
 * unit, default, range and description. The result owns the text. Constructs an object of a filter's class. */
ZEVA_API ZevaStatus ZevaDescribeClass(const ZevaClass* isa, ZevaValue* result);

/* ---- Objects */

/* Makes an object by the constructor with as many parameters as there are arguments. A class without constructors takes
 * none.
 *
 * Fails: there is no such constructor; an argument has the wrong type; the module raises. */
ZEVA_API ZevaStatus ZevaConstruct(const ZevaClass* isa, const ZevaValue* arguments, int32_t count, ZevaObject** result);

/* Reads a property. The object is ignored for a shared one.
 *
 * Fails: the object is null or of another class; the member is not a property; the module raises. */
ZEVA_API ZevaStatus ZevaGet(ZevaObject* object, const ZevaMember* property, ZevaValue* result);

/* Writes a property. An integer fits a double, and a double without a fraction fits an integer; nil fits texts and
 * objects.
 *
 * Fails: like ZevaGet; the property is read-only; the value has the wrong type. The property keeps its value. */
ZEVA_API ZevaStatus ZevaSet(ZevaObject* object, const ZevaMember* property, const ZevaValue* value);

/* The same for a number, without a ZevaValue. */
ZEVA_API ZevaStatus ZevaSetNumber(ZevaObject* object, const ZevaMember* property, double number);

/* Calls a method. The object is ignored for a shared one. `result` may be null.
 *
 * Fails: the object is null or of another class; the member is not a method; the number or a type of the arguments is
 *        wrong; the module raises. */
ZEVA_API ZevaStatus ZevaCall(ZevaObject* object, const ZevaMember* method, const ZevaValue* arguments, int32_t count,
                             ZevaValue* result);

/* Returns the class of an object. Null for null. */
ZEVA_API const ZevaClass* ZevaClassOf(const ZevaObject* object);

/* Adds a reference to an object. Null is allowed. */
ZEVA_API void ZevaRetain(ZevaObject* object);

/* Releases a reference. Null is allowed. Does not wait: while another thread holds the lock, the object is released at
 * the end of that call or of a later one. In a forked process nothing happens. */
ZEVA_API void ZevaRelease(ZevaObject* object);

/* Releases what a result owns, and makes it nil. */
ZEVA_API void ZevaReleaseValue(ZevaValue* value);

/* ---- Texts and bytes as values */

/* Makes a value of a type from what people write on the command line: "orange" for "CIColorQOR", "0,0,640,480" for
 * "CIVectorQOR", "rotate:30 scale:2" for "NSAffineTransformQOR". `subject` begins the message of a failure.
 *
 * Fails: the text is not of the type, or the type cannot be written. The result owns the value. */
ZEVA_API ZevaStatus ZevaValueFromText(const char* typeWord, const char* text, const char* subject, ZevaValue* result);

/* Makes a MemoryBlock. With `forget`, the block refers to the caller's bytes, which must stay as they are until
 * `forget` is called with the context, after the last image and object that needs them has gone. Without it, the block
 * has a copy; null bytes make a block of zeros.
 *
 * Fails: the size is negative; there is no memory. Then `forget` is not called. */
ZEVA_API ZevaStatus ZevaNewBlock(const void* bytes, int64_t size, ZevaForget forget, void* context,
                                 ZevaObject** result);

/* Returns the bytes of a MemoryBlock, which are the block's and do not move.
 *
 * Fails: the object is null or not a MemoryBlock. */
ZEVA_API ZevaStatus ZevaBlockBytes(ZevaObject* block, void** bytes, int32_t* size);

#ifdef __cplusplus
}
#endif

#endif
