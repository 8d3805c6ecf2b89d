// Event handlers through the C library: Create and Destroy with their check
// orders and messages, the event data getters, the checks that registration
// and action commands make before the SDK is asked, and C log handlers
// receiving the library's own errors.
//
// Registration and action commands are checked here up to the SDK call, so
// that these tests hold whether or not the SDK delivers events (the delivered
// behaviour is in EventsEndToEndTest.cpp).
#include <pthread.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "CapiFixture.h"
#include "OrvaneCEvents.h"

namespace {

using namespace OrvaneCInternal;

int untouchedTarget;
void* const kUntouched = &untouchedTarget; // an out-pointer value no failing call may write

void ImageFn(orvImage, void*) {}
void ImageListFn(orvImageList, void*) {}
void DeviceFn(orvDeviceEventData, const char*, void*) {}
void ArrivalFn(orvCamera, void*) {}
void RemovalFn(orvCamera, void*) {}
void LogFn(orvLogEventData, void*) {}

orvObject* Record(void* handle) { return static_cast<orvObject*>(handle); }

class EventsTest : public CapiTest {
protected:
    void SetUp() override {
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        CapiTest::SetUp();
        ASSERT_EQ(orvCameraListCreateEmpty(&cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetCameras(system, cameras), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvCameraListGet(cameras, 0, &camera), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvInterfaceListCreateEmpty(&interfaces), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemGetInterfaces(system, interfaces), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvInterfaceListGet(interfaces, 0, &interfaceHandle), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvDeviceEventHandlerCreate(&device, DeviceFn, this), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvImageEventHandlerCreate(&image, ImageFn, this), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvImageListEventHandlerCreate(&imageList, ImageListFn, this), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvDeviceArrivalEventHandlerCreate(&arrival, ArrivalFn, this), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvDeviceRemovalEventHandlerCreate(&removal, RemovalFn, this), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvInterfaceEventHandlerCreate(&interfaceEvents, ArrivalFn, RemovalFn, this), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvLogEventHandlerCreate(&logHandler, LogFn, this), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        if (device) {
            EXPECT_EQ(orvDeviceEventHandlerDestroy(device), ORVANE_ERR_SUCCESS);
        }
        if (image) {
            EXPECT_EQ(orvImageEventHandlerDestroy(image), ORVANE_ERR_SUCCESS);
        }
        if (imageList) {
            EXPECT_EQ(orvImageListEventHandlerDestroy(imageList), ORVANE_ERR_SUCCESS);
        }
        if (arrival) {
            EXPECT_EQ(orvDeviceArrivalEventHandlerDestroy(arrival), ORVANE_ERR_SUCCESS);
        }
        if (removal) {
            EXPECT_EQ(orvDeviceRemovalEventHandlerDestroy(removal), ORVANE_ERR_SUCCESS);
        }
        if (interfaceEvents) {
            EXPECT_EQ(orvInterfaceEventHandlerDestroy(interfaceEvents), ORVANE_ERR_SUCCESS);
        }
        if (logHandler) {
            EXPECT_EQ(orvLogEventHandlerDestroy(logHandler), ORVANE_ERR_SUCCESS);
        }
        if (interfaceHandle) {
            EXPECT_EQ(orvInterfaceRelease(interfaceHandle), ORVANE_ERR_SUCCESS);
        }
        if (interfaces) {
            EXPECT_EQ(orvInterfaceListDestroy(interfaces), ORVANE_ERR_SUCCESS);
        }
        if (camera) {
            EXPECT_EQ(orvCameraRelease(camera), ORVANE_ERR_SUCCESS);
        }
        if (cameras) {
            EXPECT_EQ(orvCameraListDestroy(cameras), ORVANE_ERR_SUCCESS);
        }
        CapiTest::TearDown();
    }

    // The last error is the explicit failure of a Create function.
    void ExpectFunctionFailure(int line, const std::string& function, const std::string& message) {
        EXPECT_EQ(LastCode(), ORVANE_ERR_INVALID_PARAMETER);
        EXPECT_EQ(LastText(orvErrorGetLastMessage), message);
        EXPECT_EQ(LastText(orvErrorGetLastFileName), "OrvaneC");
        EXPECT_EQ(LastText(orvErrorGetLastFunctionName), function);
        EXPECT_EQ(LastLine(), line);
        EXPECT_EQ(LastText(orvErrorGetLastFullMessage), "Orvane Exception [" + function + ", OrvaneC:" +
                                                            std::to_string(line) + "] " + message + " (error -1009)");
        EXPECT_TRUE(log.Contains(Trace("OrvaneC", line, function, message, ORVANE_ERR_INVALID_PARAMETER)));
    }
    void ExpectNullHandle() {
        EXPECT_EQ(LastText(orvErrorGetLastMessage), "Handle is NULL");
        EXPECT_EQ(LastLine(), 121);
    }
    void ExpectNullParameter() {
        EXPECT_EQ(LastText(orvErrorGetLastMessage), "Parameter is NULL");
        EXPECT_EQ(LastLine(), 129);
    }

    // A call whose arguments pass every check of this library: it either
    // succeeds or fails in the SDK (whose failures are not this library's
    // files).
    ::testing::AssertionResult ReachedSdk(orvError code) {
        if (code == ORVANE_ERR_SUCCESS) return ::testing::AssertionSuccess();
        const std::string file = LastText(orvErrorGetLastFileName);
        if (code == ORVANE_ERR_INVALID_HANDLE || code == ORVANE_ERR_INVALID_PARAMETER || file == "./OrvaneUtilsC" ||
            file == "OrvaneC")
            return ::testing::AssertionFailure()
                   << "failed in the C library: " << code << " " << LastText(orvErrorGetLastMessage);
        return ::testing::AssertionSuccess();
    }

    orvCameraList cameras = nullptr;
    orvCamera camera = nullptr;
    orvInterfaceList interfaces = nullptr;
    orvInterface interfaceHandle = nullptr;
    orvDeviceEventHandler device = nullptr;
    orvImageEventHandler image = nullptr;
    orvImageListEventHandler imageList = nullptr;
    orvDeviceArrivalEventHandler arrival = nullptr;
    orvDeviceRemovalEventHandler removal = nullptr;
    orvInterfaceEventHandler interfaceEvents = nullptr;
    orvLogEventHandler logHandler = nullptr;
};

// Create ----------------------------------------------------------------------

static_assert(std::is_base_of<Orvane::DeviceEventHandler, DeviceEventHandler>::value, "");
static_assert(std::is_base_of<Orvane::ImageEventHandler, ImageEventHandler>::value, "");
static_assert(std::is_base_of<Orvane::ImageListEventHandler, ImageListEventHandler>::value, "");
static_assert(std::is_base_of<Orvane::DeviceArrivalEventHandler, ArrivalEventHandler>::value, "");
static_assert(std::is_base_of<Orvane::DeviceRemovalEventHandler, RemovalEventHandler>::value, "");
static_assert(std::is_base_of<Orvane::InterfaceEventHandler, InterfaceEventHandler>::value, "");
static_assert(std::is_base_of<Orvane::LoggingEventHandler, LogEventHandler>::value, "");
static_assert(std::has_virtual_destructor<LogEventHandler>::value, "");

template <class Adapter, class Function>
void ExpectAdapter(void* handle, orvHandleType tag, void* userData, Function function) {
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(Record(handle)->tag, tag);
    EXPECT_TRUE(Record(handle)->children.empty());
    const Adapter* adapter = static_cast<const Adapter*>(Record(handle)->target);
    ASSERT_NE(adapter, nullptr);
    EXPECT_EQ(adapter->userData, userData);
    EXPECT_EQ(adapter->function, function);
    // The user data comes first, then the function.
    EXPECT_LT(reinterpret_cast<const char*>(&adapter->userData), reinterpret_cast<const char*>(&adapter->function));
}

TEST_F(EventsTest, CreateMakesARecordOwningAnAdapter) {
    ExpectAdapter<DeviceEventHandler>(device, ORV_HANDLE_DEVICE_EVENT, this, DeviceFn);
    ExpectAdapter<ImageEventHandler>(image, ORV_HANDLE_IMAGE_EVENT, this, ImageFn);
    ExpectAdapter<ImageListEventHandler>(imageList, ORV_HANDLE_IMAGE_LIST_EVENT, this, ImageListFn);
    ExpectAdapter<ArrivalEventHandler>(arrival, ORV_HANDLE_ARRIVAL_EVENT, this, ArrivalFn);
    ExpectAdapter<RemovalEventHandler>(removal, ORV_HANDLE_REMOVAL_EVENT, this, RemovalFn);
    ExpectAdapter<LogEventHandler>(logHandler, ORV_HANDLE_LOGGING_EVENT, this, LogFn);

    EXPECT_EQ(Record(interfaceEvents)->tag, ORV_HANDLE_INTERFACE_EVENT);
    const auto* both = static_cast<const InterfaceEventHandler*>(Record(interfaceEvents)->target);
    EXPECT_EQ(both->userData, this);
    EXPECT_EQ(both->arrival, ArrivalFn);
    EXPECT_EQ(both->removal, RemovalFn);
    const char* u = reinterpret_cast<const char*>(&both->userData);
    const char* a = reinterpret_cast<const char*>(&both->arrival);
    const char* r = reinterpret_cast<const char*>(&both->removal);
    EXPECT_LT(u, a);
    EXPECT_LT(a, r);

    // Null user data is kept as it is.
    orvImageEventHandler h = nullptr;
    ASSERT_EQ(orvImageEventHandlerCreate(&h, ImageFn, nullptr), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(static_cast<ImageEventHandler*>(Record(h)->target)->userData, nullptr);
    EXPECT_NE(h, image);
    EXPECT_EQ(orvImageEventHandlerDestroy(h), ORVANE_ERR_SUCCESS);
}

struct CreateCase {
    const char* function;
    int line;
    const char* message;
    std::function<orvError(void**, bool withFunction)> create;
};

std::vector<CreateCase> CreateCases(void* user) {
    return {
        {"orvDeviceEventHandlerCreate", 3108, "orvDeviceEventFunction parameter is NULL",
         [user](void** out, bool f) { return orvDeviceEventHandlerCreate(out, f ? DeviceFn : nullptr, user); }},
        {"orvImageEventHandlerCreate", 3151, "orvImageEventFunction parameter is NULL",
         [user](void** out, bool f) { return orvImageEventHandlerCreate(out, f ? ImageFn : nullptr, user); }},
        // The image list handler's message names the image event function.
        {"orvImageListEventHandlerCreate", 3194, "orvImageEventFunction parameter is NULL",
         [user](void** out, bool f) { return orvImageListEventHandlerCreate(out, f ? ImageListFn : nullptr, user); }},
        {"orvDeviceArrivalEventHandlerCreate", 3237, "orvArrivalEventFunction parameter is NULL",
         [user](void** out, bool f) { return orvDeviceArrivalEventHandlerCreate(out, f ? ArrivalFn : nullptr, user); }},
        {"orvDeviceRemovalEventHandlerCreate", 3263, "orvRemovalEventFunction parameter is NULL",
         [user](void** out, bool f) { return orvDeviceRemovalEventHandlerCreate(out, f ? RemovalFn : nullptr, user); }},
        {"orvLogEventHandlerCreate", 3375, "orvLogEventFunction parameter is NULL",
         [user](void** out, bool f) { return orvLogEventHandlerCreate(out, f ? LogFn : nullptr, user); }},
    };
}

TEST_F(EventsTest, CreateChecksTheOutPointerThenTheFunction) {
    for (const CreateCase& c : CreateCases(this)) {
        SCOPED_TRACE(c.function);
        // Both null: the out-pointer is reported.
        EXPECT_EQ(c.create(nullptr, false), ORVANE_ERR_INVALID_PARAMETER);
        ExpectNullParameter();
        EXPECT_EQ(LastText(orvErrorGetLastFunctionName), "CheckNullParam");
        EXPECT_EQ(c.create(nullptr, true), ORVANE_ERR_INVALID_PARAMETER);
        ExpectNullParameter();
        // A null function: the explicit failure with this function's line.
        void* out = kUntouched;
        log.Clear();
        EXPECT_EQ(c.create(&out, false), ORVANE_ERR_INVALID_PARAMETER);
        EXPECT_EQ(out, kUntouched);
        ExpectFunctionFailure(c.line, c.function, c.message);
    }
}

TEST_F(EventsTest, InterfaceEventHandlerCreateChecksArrivalThenRemoval) {
    void* out = kUntouched;
    EXPECT_EQ(orvInterfaceEventHandlerCreate(nullptr, nullptr, nullptr, this), ORVANE_ERR_INVALID_PARAMETER);
    ExpectNullParameter();
    EXPECT_EQ(orvInterfaceEventHandlerCreate(&out, nullptr, nullptr, this), ORVANE_ERR_INVALID_PARAMETER);
    ExpectFunctionFailure(3329, "orvInterfaceEventHandlerCreate", "orvArrivalEventFunction parameter is NULL");
    EXPECT_EQ(orvInterfaceEventHandlerCreate(&out, nullptr, RemovalFn, this), ORVANE_ERR_INVALID_PARAMETER);
    ExpectFunctionFailure(3329, "orvInterfaceEventHandlerCreate", "orvArrivalEventFunction parameter is NULL");
    EXPECT_EQ(orvInterfaceEventHandlerCreate(&out, ArrivalFn, nullptr, this), ORVANE_ERR_INVALID_PARAMETER);
    ExpectFunctionFailure(3334, "orvInterfaceEventHandlerCreate", "orvRemovalEventFunction parameter is NULL");
    EXPECT_EQ(out, kUntouched);
}

// Destroy ---------------------------------------------------------------------

TEST_F(EventsTest, DestroyChecksNullThenKind) {
    struct Case {
        const char* name;
        orvError (*destroy)(void*);
        const char* expected;
    };
    const Case cases[] = {{"device", orvDeviceEventHandlerDestroy, "Device event handle"},
                          {"image", orvImageEventHandlerDestroy, "Image event handle"},
                          {"image list", orvImageListEventHandlerDestroy, "Unknown handle"},
                          {"arrival", orvDeviceArrivalEventHandlerDestroy, "Arrival event handle"},
                          {"removal", orvDeviceRemovalEventHandlerDestroy, "Removal event handle"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.destroy(nullptr), ORVANE_ERR_INVALID_HANDLE);
        ExpectNullHandle();
        // A log handler is of another kind; it stays intact.
        EXPECT_EQ(c.destroy(logHandler), ORVANE_ERR_INVALID_HANDLE);
        EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle(c.expected, "Logging event handle"));
        EXPECT_EQ(LastLine(), 343);
    }
    EXPECT_EQ(orvImageEventHandlerDestroy(imageList), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Image event handle", "Unknown handle"));
    EXPECT_EQ(orvInterfaceEventHandlerDestroy(nullptr), ORVANE_ERR_INVALID_HANDLE);
    ExpectNullHandle();
    EXPECT_EQ(orvLogEventHandlerDestroy(nullptr), ORVANE_ERR_INVALID_HANDLE);
    ExpectNullHandle();
    // Each kind is destroyed by its own function (TearDown); the log handler
    // is still usable after the refusals above.
    EXPECT_EQ(static_cast<LogEventHandler*>(Record(logHandler)->target)->function, LogFn);
}

TEST_F(EventsTest, InterfaceAndLogDestroyDoNotCheckTheKind) {
    // Records of other kinds without an SDK object: both functions free them.
    orvObject* camera_like = new orvObject(ORV_HANDLE_CAMERA_LIST);
    EXPECT_EQ(orvInterfaceEventHandlerDestroy(camera_like), ORVANE_ERR_SUCCESS);
    orvObject* system_like = new orvObject(ORV_HANDLE_SYSTEM);
    EXPECT_EQ(orvLogEventHandlerDestroy(system_like), ORVANE_ERR_SUCCESS);
    orvObject* arrival_like = new orvObject(ORV_HANDLE_ARRIVAL_EVENT);
    EXPECT_EQ(orvLogEventHandlerDestroy(arrival_like), ORVANE_ERR_SUCCESS);
    // The checked ones refuse such a record (and leave it to the caller).
    orvObject other(ORV_HANDLE_SYSTEM);
    EXPECT_EQ(orvDeviceArrivalEventHandlerDestroy(&other), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Arrival event handle", "System handle"));
}

// Event data ------------------------------------------------------------------

// A record of the log data kind over a context, as a log callback receives.
TEST_F(EventsTest, LogDataGetters) {
    _orvLogEventContext context;
    context.categoryName = "Category";
    context.priority = -5000000000LL;
    context.priorityName = "PRIO";
    context.timestamp = "2026-01-02 03:04:05.000006";
    context.ndc = "ndc";
    context.threadName = "worker";
    context.logMessage = "a message";
    orvObject data(ORV_HANDLE_LOGGING_EVENT_DATA);
    data.target = &context;

    struct Text {
        orvError (*get)(orvLogEventData, char*, size_t*);
        std::string value;
    };
    const Text texts[] = {{orvLogDataGetCategoryName, "Category"},
                          {orvLogDataGetPriorityName, "PRIO"},
                          {orvLogDataGetTimestamp, "2026-01-02 03:04:05.000006"},
                          {orvLogDataGetNDC, "ndc"},
                          {orvLogDataGetThreadName, "worker"},
                          {orvLogDataGetLogMessage, "a message"}};
    orvObject other(ORV_HANDLE_DEVICE_EVENT_DATA);
    for (const Text& t : texts) {
        SCOPED_TRACE(t.value);
        size_t length = 0;
        // A null buffer asks for the length.
        EXPECT_EQ(t.get(&data, nullptr, &length), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(length, t.value.size() + 1);
        std::vector<char> buffer(length + 3, 'x');
        length = buffer.size();
        EXPECT_EQ(t.get(&data, buffer.data(), &length), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(std::string(buffer.data()), t.value);
        EXPECT_EQ(length, t.value.size() + 1);
        EXPECT_EQ(buffer.back(), '\0');
        // Too small: refused, nothing written.
        length = t.value.size();
        buffer.assign(buffer.size(), 'x');
        EXPECT_EQ(t.get(&data, buffer.data(), &length), ORVANE_ERR_BUFFER_TOO_SMALL);
        EXPECT_EQ(length, t.value.size());
        EXPECT_EQ(buffer[0], 'x');
        // Handle null, length null, then the kind.
        EXPECT_EQ(t.get(nullptr, nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
        ExpectNullHandle();
        EXPECT_EQ(t.get(&other, buffer.data(), nullptr), ORVANE_ERR_INVALID_PARAMETER);
        ExpectNullParameter();
        EXPECT_EQ(t.get(&other, nullptr, &length), ORVANE_ERR_INVALID_HANDLE);
        EXPECT_EQ(LastText(orvErrorGetLastMessage),
                  WrongHandle("Logging event data handle", "Device event data handle"));
    }

    int64_t priority = 7;
    EXPECT_EQ(orvLogDataGetPriority(&data, &priority), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(priority, -5000000000LL);
    EXPECT_EQ(orvLogDataGetPriority(nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvLogDataGetPriority(&other, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    priority = 7;
    EXPECT_EQ(orvLogDataGetPriority(&other, &priority), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(priority, 7);
    EXPECT_EQ(orvLogDataGetPriority(system, &priority), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Logging event data handle", "System handle"));
}

TEST_F(EventsTest, DeviceEventDataGetters) {
    const uint8_t payload[5] = {1, 2, 3, 4, 5};
    _orvDeviceEventContext context;
    context.eventId = 0x9001000000000001ULL;
    context.payloadData = payload;
    context.payloadSize = sizeof payload;
    orvObject data(ORV_HANDLE_DEVICE_EVENT_DATA);
    data.target = &context;
    orvObject other(ORV_HANDLE_LOGGING_EVENT_DATA);

    uint64_t id = 0;
    EXPECT_EQ(orvDeviceEventGetId(&data, &id), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(id, 0x9001000000000001ULL);
    EXPECT_EQ(orvDeviceEventGetId(nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvDeviceEventGetId(&other, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvDeviceEventGetId(&other, &id), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Device event data handle", "Logging event data handle"));

    size_t size = 0;
    EXPECT_EQ(orvDeviceEventGetPayloadDataSize(&data, &size), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(orvDeviceEventGetPayloadDataSize(nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvDeviceEventGetPayloadDataSize(&other, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvDeviceEventGetPayloadDataSize(&other, &size), ORVANE_ERR_INVALID_HANDLE);

    // The payload getter writes the size only.
    const uint8_t marker = 0;
    const uint8_t* p = &marker;
    size = 0;
    EXPECT_EQ(orvDeviceEventGetPayloadData(&data, &p, &size), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(p, &marker);
    EXPECT_EQ(size, 5u);
    // Handle, data pointer, size pointer, kind.
    EXPECT_EQ(orvDeviceEventGetPayloadData(nullptr, nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvDeviceEventGetPayloadData(&other, nullptr, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvDeviceEventGetPayloadData(&other, nullptr, &size), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvDeviceEventGetPayloadData(&other, &p, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    size = 99;
    EXPECT_EQ(orvDeviceEventGetPayloadData(&other, &p, &size), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(size, 99u);

    // The name needs a buffer (no length query) and is empty.
    char name[8];
    std::memset(name, 'x', sizeof name);
    size_t length = sizeof name;
    EXPECT_EQ(orvDeviceEventGetName(&data, name, &length), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(length, 1u);
    EXPECT_EQ(std::string(name, sizeof name), std::string(sizeof name, '\0'));
    length = sizeof name;
    EXPECT_EQ(orvDeviceEventGetName(&data, nullptr, &length), ORVANE_ERR_INVALID_PARAMETER);
    ExpectNullParameter();
    EXPECT_EQ(length, sizeof name);
    EXPECT_EQ(orvDeviceEventGetName(&data, name, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvDeviceEventGetName(nullptr, nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(orvDeviceEventGetName(&other, nullptr, &length), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(orvDeviceEventGetName(&other, name, &length), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Device event data handle", "Logging event data handle"));
}

// Registration ------------------------------------------------------------------

// One registration function: its owner handle, the right handler, a handler
// of another kind and the texts the type checks give; unregister undoes a
// successful registration.
struct Registration {
    const char* name;
    std::function<orvError(void*, void*)> call;
    void* owner;
    const char* ownerText;
    void* handler;
    void* wrongHandler;
    const char* handlerText;
    const char* wrongText;
    std::function<orvError(void*, void*)> undo; // null for unregistrations
};

class RegistrationTest : public EventsTest {
protected:
    void ExpectChecks(const Registration& r) {
        SCOPED_TRACE(r.name);
        // Owner null comes first, then handler null, then the two kinds.
        EXPECT_EQ(r.call(nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
        ExpectNullHandle();
        EXPECT_EQ(r.call(nullptr, r.handler), ORVANE_ERR_INVALID_HANDLE);
        ExpectNullHandle();
        EXPECT_EQ(r.call(r.owner, nullptr), ORVANE_ERR_INVALID_HANDLE);
        ExpectNullHandle();
        EXPECT_EQ(r.call(cameras, nullptr), ORVANE_ERR_INVALID_HANDLE);
        ExpectNullHandle();
        EXPECT_EQ(r.call(cameras, r.wrongHandler), ORVANE_ERR_INVALID_HANDLE);
        EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle(r.ownerText, "Camera list handle"));
        EXPECT_EQ(LastLine(), 343);
        EXPECT_EQ(r.call(r.owner, r.wrongHandler), ORVANE_ERR_INVALID_HANDLE);
        EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle(r.handlerText, r.wrongText));
        // Right kinds: nothing of this library refuses the call.
        const orvError code = r.call(r.owner, r.handler);
        EXPECT_TRUE(ReachedSdk(code));
        if (code == ORVANE_ERR_SUCCESS && r.undo) {
            EXPECT_EQ(r.undo(r.owner, r.handler), ORVANE_ERR_SUCCESS);
        }
    }
};

TEST_F(RegistrationTest, SystemLogHandlers) {
    ExpectChecks({"register log", orvSystemRegisterLogEventHandler, system, "System handle", logHandler, image,
                  "Logging event handle", "Image event handle", orvSystemUnregisterLogEventHandler});
    ExpectChecks({"unregister log", orvSystemUnregisterLogEventHandler, system, "System handle", logHandler, arrival,
                  "Logging event handle", "Arrival event handle", nullptr});
    EXPECT_EQ(orvSystemUnregisterAllLogEventHandlers(nullptr), ORVANE_ERR_INVALID_HANDLE);
    ExpectNullHandle();
    EXPECT_EQ(orvSystemUnregisterAllLogEventHandlers(cameras), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("System handle", "Camera list handle"));
}

TEST_F(RegistrationTest, SystemArrivalRemovalAndInterfaceHandlers) {
    ExpectChecks({"register arrival", orvSystemRegisterDeviceArrivalEventHandler, system, "System handle", arrival,
                  removal, "Arrival event handle", "Removal event handle",
                  orvSystemUnregisterDeviceArrivalEventHandler});
    ExpectChecks({"register removal", orvSystemRegisterDeviceRemovalEventHandler, system, "System handle", removal,
                  arrival, "Removal event handle", "Arrival event handle",
                  orvSystemUnregisterDeviceRemovalEventHandler});
    ExpectChecks({"register interface", orvSystemRegisterInterfaceEventHandler, system, "System handle",
                  interfaceEvents, arrival, "Interface event handle", "Arrival event handle",
                  orvSystemUnregisterInterfaceEventHandler});
    ExpectChecks({"unregister arrival", orvSystemUnregisterDeviceArrivalEventHandler, system, "System handle", arrival,
                  interfaceEvents, "Arrival event handle", "Interface event handle", nullptr});
    ExpectChecks({"unregister removal", orvSystemUnregisterDeviceRemovalEventHandler, system, "System handle", removal,
                  interfaceEvents, "Removal event handle", "Interface event handle", nullptr});
    ExpectChecks({"unregister interface", orvSystemUnregisterInterfaceEventHandler, system, "System handle",
                  interfaceEvents, removal, "Interface event handle", "Removal event handle", nullptr});
}

TEST_F(RegistrationTest, InterfaceArrivalRemovalAndInterfaceHandlers) {
    ExpectChecks({"register arrival", orvInterfaceRegisterDeviceArrivalEventHandler, interfaceHandle,
                  "Interface handle", arrival, logHandler, "Arrival event handle", "Logging event handle",
                  orvInterfaceUnregisterDeviceArrivalEventHandler});
    ExpectChecks({"register removal", orvInterfaceRegisterDeviceRemovalEventHandler, interfaceHandle,
                  "Interface handle", removal, interfaceEvents, "Removal event handle", "Interface event handle",
                  orvInterfaceUnregisterDeviceRemovalEventHandler});
    ExpectChecks({"register interface", orvInterfaceRegisterInterfaceEventHandler, interfaceHandle, "Interface handle",
                  interfaceEvents, removal, "Interface event handle", "Removal event handle",
                  orvInterfaceUnregisterInterfaceEventHandler});
    ExpectChecks({"unregister arrival", orvInterfaceUnregisterDeviceArrivalEventHandler, interfaceHandle,
                  "Interface handle", arrival, removal, "Arrival event handle", "Removal event handle", nullptr});
    ExpectChecks({"unregister removal", orvInterfaceUnregisterDeviceRemovalEventHandler, interfaceHandle,
                  "Interface handle", removal, arrival, "Removal event handle", "Arrival event handle", nullptr});
    ExpectChecks({"unregister interface", orvInterfaceUnregisterInterfaceEventHandler, interfaceHandle,
                  "Interface handle", interfaceEvents, arrival, "Interface event handle", "Arrival event handle",
                  nullptr});
    // The system is not an interface.
    EXPECT_EQ(orvInterfaceRegisterDeviceArrivalEventHandler(system, arrival), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Interface handle", "System handle"));
}

TEST_F(RegistrationTest, CameraHandlers) {
    ExpectChecks({"register device", orvCameraRegisterDeviceEventHandler, camera, "Camera handle", device, image,
                  "Device event handle", "Image event handle", orvCameraUnregisterDeviceEventHandler});
    ExpectChecks({"register device by name",
                  [](void* c, void* h) { return orvCameraRegisterDeviceEventHandlerEx(c, h, "ExposureEnd"); }, camera,
                  "Camera handle", device, logHandler, "Device event handle", "Logging event handle",
                  orvCameraUnregisterDeviceEventHandler});
    ExpectChecks({"unregister device", orvCameraUnregisterDeviceEventHandler, camera, "Camera handle", device,
                  imageList, "Device event handle", "Unknown handle", nullptr});
    ExpectChecks({"register image", orvCameraRegisterImageEventHandler, camera, "Camera handle", image, imageList,
                  "Image event handle", "Unknown handle", orvCameraUnregisterImageEventHandler});
    ExpectChecks({"register image on stream 0",
                  [](void* c, void* h) { return orvCameraRegisterImageEventHandlerEx(c, h, 0); }, camera,
                  "Camera handle", image, device, "Image event handle", "Device event handle",
                  orvCameraUnregisterImageEventHandler});
    ExpectChecks({"unregister image", orvCameraUnregisterImageEventHandler, camera, "Camera handle", image, device,
                  "Image event handle", "Device event handle", nullptr});
    ExpectChecks({"register image list", orvCameraRegisterImageListEventHandler, camera, "Camera handle", imageList,
                  image, "Unknown handle", "Image event handle", orvCameraUnregisterImageListEventHandler});
    ExpectChecks({"unregister image list", orvCameraUnregisterImageListEventHandler, camera, "Camera handle", imageList,
                  image, "Unknown handle", "Image event handle", nullptr});
}

TEST_F(RegistrationTest, AUserImageIsNoImageEventHandler) {
    orvImage user = nullptr;
    ASSERT_EQ(orvImageCreateEmpty(&user), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvCameraRegisterImageEventHandler(camera, user), ORVANE_ERR_INVALID_HANDLE);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle("Image event handle", "User-created image"));
    EXPECT_EQ(orvImageDestroy(user), ORVANE_ERR_SUCCESS);
}

TEST_F(RegistrationTest, DeviceEventNameIsNotChecked) {
    // A null name passes this library's checks and reaches the SDK.
    const orvError code = orvCameraRegisterDeviceEventHandlerEx(camera, device, nullptr);
    EXPECT_TRUE(ReachedSdk(code));
    EXPECT_NE(LastText(orvErrorGetLastMessage), "Parameter is NULL");
    if (code == ORVANE_ERR_SUCCESS) {
        EXPECT_EQ(orvCameraUnregisterDeviceEventHandler(camera, device), 0);
    }
    // The other arguments are still checked first.
    EXPECT_EQ(orvCameraRegisterDeviceEventHandlerEx(camera, nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
    ExpectNullHandle();
}

// Action commands -------------------------------------------------------------

TEST_F(EventsTest, ActionCommandChecks) {
    using Send = orvError (*)(void*, unsigned int, unsigned int, unsigned int, unsigned long long, bool, unsigned int*,
                              orvActionCommandResult*);
    struct Case {
        const char* name;
        Send send;
        void* sender;
        const char* senderText;
    };
    const Case cases[] = {{"system", orvSystemSendActionCommand, system, "System handle"},
                          {"interface", orvInterfaceSendActionCommand, interfaceHandle, "Interface handle"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        orvActionCommandResult results[2];
        std::memset(results, 0xA5, sizeof results);
        unsigned int n = 2;
        // Sender null comes first.
        EXPECT_EQ(c.send(nullptr, 1, 2, 3, 0, true, nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
        ExpectNullHandle();
        EXPECT_EQ(c.send(nullptr, 1, 2, 3, 0, true, &n, nullptr), ORVANE_ERR_INVALID_HANDLE);
        ExpectNullHandle();
        // With a result size the results are checked, before the sender's kind;
        // also for a count query.
        EXPECT_EQ(c.send(cameras, 1, 2, 3, 0, true, &n, nullptr), ORVANE_ERR_INVALID_PARAMETER);
        ExpectNullParameter();
        unsigned int zero = 0;
        EXPECT_EQ(c.send(c.sender, 1, 2, 3, 0, true, &zero, nullptr), ORVANE_ERR_INVALID_PARAMETER);
        EXPECT_EQ(zero, 0u);
        // Without one, a null results pointer is not looked at.
        EXPECT_EQ(c.send(cameras, 1, 2, 3, 0, true, nullptr, nullptr), ORVANE_ERR_INVALID_HANDLE);
        EXPECT_EQ(LastText(orvErrorGetLastMessage), WrongHandle(c.senderText, "Camera list handle"));
        EXPECT_EQ(c.send(cameras, 1, 2, 3, 0, true, &n, results), ORVANE_ERR_INVALID_HANDLE);
        EXPECT_EQ(n, 2u);
        EXPECT_TRUE(ReachedSdk(c.send(c.sender, 0x0BADC0DE, 2, 3, 0, false, nullptr, nullptr)));
        // A send the SDK refuses writes nothing.
        const orvError code = c.send(c.sender, 0x0BADC0DE, 2, 3, 0, true, &n, results);
        EXPECT_TRUE(ReachedSdk(code));
        if (code != ORVANE_ERR_SUCCESS) {
            EXPECT_EQ(n, 2u);
            const unsigned char* bytes = reinterpret_cast<const unsigned char*>(results);
            for (size_t i = 0; i < sizeof results; ++i) EXPECT_EQ(bytes[i], 0xA5) << i;
        }
    }
}

TEST(ActionCommandResult, MirrorsTheSdkRecord) {
    static_assert(sizeof(orvActionCommandResult) == 8, "");
    static_assert(sizeof(Orvane::ActionCommandResult) == 8, "");
    static_assert(
        offsetof(orvActionCommandResult, DeviceAddress) == offsetof(Orvane::ActionCommandResult, DeviceAddress), "");
    static_assert(offsetof(orvActionCommandResult, Status) == offsetof(Orvane::ActionCommandResult, Status), "");
    const Orvane::ActionCommandResult sdk = {0x00000003u, 0x8001u};
    orvActionCommandResult c;
    std::memcpy(&c, &sdk, sizeof c);
    EXPECT_EQ(c.DeviceAddress, 3u);
    EXPECT_EQ(c.Status, 0x8001u);
}

// Log handlers end to end --------------------------------------------------------

// What a C log callback saw, read through the data getters.
struct LogSeen {
    std::string category, priorityName, timestamp, ndc, threadName, message;
    int64_t priority = 0;
    orvHandleType tag = static_cast<orvHandleType>(0);
    void* userData = nullptr;
    std::thread::id thread;
};

std::string Text(orvError (*get)(orvLogEventData, char*, size_t*), orvLogEventData data) {
    size_t length = 0;
    if (get(data, nullptr, &length) != ORVANE_ERR_SUCCESS) return "<query failed>";
    std::string text(length, '\0');
    if (get(data, &text[0], &length) != ORVANE_ERR_SUCCESS) return "<read failed>";
    text.resize(length - 1);
    return text;
}

struct LogSink {
    std::mutex mutex;
    std::vector<LogSeen> seen;

    static void Callback(orvLogEventData data, void* userData) {
        LogSeen s;
        s.tag = Record(data)->tag;
        s.userData = userData;
        s.thread = std::this_thread::get_id();
        s.category = Text(orvLogDataGetCategoryName, data);
        s.priorityName = Text(orvLogDataGetPriorityName, data);
        s.timestamp = Text(orvLogDataGetTimestamp, data);
        s.ndc = Text(orvLogDataGetNDC, data);
        s.threadName = Text(orvLogDataGetThreadName, data);
        s.message = Text(orvLogDataGetLogMessage, data);
        if (orvLogDataGetPriority(data, &s.priority) != ORVANE_ERR_SUCCESS) s.priority = -12345;
        LogSink* sink = static_cast<LogSink*>(userData);
        std::lock_guard<std::mutex> lock(sink->mutex);
        sink->seen.push_back(s);
    }
    std::vector<LogSeen> Take() {
        std::lock_guard<std::mutex> lock(mutex);
        std::vector<LogSeen> out;
        out.swap(seen);
        return out;
    }
};

class LogHandlerTest : public CapiTest {
protected:
    void SetUp() override {
        CapiTest::SetUp();
        ASSERT_EQ(orvSystemGetLoggingLevel(system, &savedLevel), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemSetLoggingLevel(system, ORV_LOG_LEVEL_ERROR), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvLogEventHandlerCreate(&handler, LogSink::Callback, &sink), ORVANE_ERR_SUCCESS);
        ASSERT_EQ(orvSystemRegisterLogEventHandler(system, handler), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        EXPECT_EQ(orvSystemUnregisterLogEventHandler(system, handler), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvLogEventHandlerDestroy(handler), ORVANE_ERR_SUCCESS);
        EXPECT_EQ(orvSystemSetLoggingLevel(system, savedLevel), ORVANE_ERR_SUCCESS);
        CapiTest::TearDown();
    }
    static std::string ThreadName() {
        char name[32] = {0};
        pthread_getname_np(pthread_self(), name, sizeof name);
        return name;
    }

    LogSink sink;
    orvLogEventHandler handler = nullptr;
    orvLogLevel savedLevel = ORV_LOG_LEVEL_ERROR;
};

const char* const kNullParameterTrace =
    "Orv Trace: ./OrvaneUtilsC, line 129, CheckNullParam: Message = Parameter is NULL Code = -1009";

TEST_F(LogHandlerTest, ALibraryErrorReachesTheCHandlerAtErrorPriority) {
    EXPECT_EQ(orvSystemGetInstance(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    const std::vector<LogSeen> seen = sink.Take();
    ASSERT_EQ(seen.size(), 1u);
    const LogSeen& s = seen[0];
    EXPECT_EQ(s.tag, ORV_HANDLE_LOGGING_EVENT_DATA);
    EXPECT_EQ(s.userData, &sink);
    EXPECT_EQ(s.message, kNullParameterTrace);
    EXPECT_EQ(s.priority, ORV_LOG_LEVEL_ERROR);
    EXPECT_EQ(s.priorityName, "ERROR");
    EXPECT_EQ(s.category, "Orvane");
    EXPECT_EQ(s.ndc, "");
    // Delivered synchronously on the thread that failed.
    EXPECT_EQ(s.thread, std::this_thread::get_id());
    EXPECT_EQ(s.threadName, ThreadName());
    EXPECT_TRUE(std::regex_match(s.timestamp, std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6})"))) << s.timestamp;
    // The getters the callback ran did not disturb the failing call's record.
    EXPECT_EQ(LastCode(), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_EQ(LastText(orvErrorGetLastMessage), "Parameter is NULL");
    EXPECT_EQ(LastText(orvErrorGetLastFunctionName), "CheckNullParam");
}

TEST_F(LogHandlerTest, ACreateFailureTextReachesTheHandler) {
    orvImageEventHandler h = nullptr;
    EXPECT_EQ(orvImageEventHandlerCreate(&h, nullptr, nullptr), ORVANE_ERR_INVALID_PARAMETER);
    const std::vector<LogSeen> seen = sink.Take();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].message,
              "Orv Trace: OrvaneC, line 3151, orvImageEventHandlerCreate: Message = "
              "orvImageEventFunction parameter is NULL Code = -1009");
    EXPECT_EQ(seen[0].priority, ORV_LOG_LEVEL_ERROR);
}

TEST_F(LogHandlerTest, TheLoggingLevelFilters) {
    // More severe than errors only: an error is not delivered.
    ASSERT_EQ(orvSystemSetLoggingLevel(system, ORV_LOG_LEVEL_CRIT), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvSystemGetInstance(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    Orvane::LoggerWrapper::LoggingCritical("critical", "ctx");
    std::vector<LogSeen> seen = sink.Take();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].message, "critical");
    EXPECT_EQ(seen[0].priority, ORV_LOG_LEVEL_CRIT);
    EXPECT_EQ(seen[0].priorityName, "CRIT");
    EXPECT_EQ(seen[0].ndc, "ctx");

    // Warnings pass at WARN, not at ERROR.
    ASSERT_EQ(orvSystemSetLoggingLevel(system, ORV_LOG_LEVEL_ERROR), ORVANE_ERR_SUCCESS);
    Orvane::LoggerWrapper::LoggingWarning("warning", "");
    EXPECT_TRUE(sink.Take().empty());
    ASSERT_EQ(orvSystemSetLoggingLevel(system, ORV_LOG_LEVEL_WARN), ORVANE_ERR_SUCCESS);
    Orvane::LoggerWrapper::LoggingWarning("warning", "");
    EXPECT_EQ(orvSystemGetInstance(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    seen = sink.Take();
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].message, "warning");
    EXPECT_EQ(seen[0].priorityName, "WARN");
    EXPECT_EQ(seen[1].message, kNullParameterTrace);

    // Off: nothing at all.
    ASSERT_EQ(orvSystemSetLoggingLevel(system, ORV_LOG_LEVEL_OFF), ORVANE_ERR_SUCCESS);
    Orvane::LoggerWrapper::LoggingFatal("fatal", "");
    EXPECT_EQ(orvSystemGetInstance(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_TRUE(sink.Take().empty());
}

TEST_F(LogHandlerTest, UnregisteredHandlersHearNothing) {
    ASSERT_EQ(orvSystemUnregisterLogEventHandler(system, handler), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvSystemGetInstance(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_TRUE(sink.Take().empty());
    EXPECT_TRUE(log.Contains(kNullParameterTrace));

    // Unregistering all removes every log handler of the process.
    ASSERT_EQ(orvSystemRegisterLogEventHandler(system, handler), ORVANE_ERR_SUCCESS);
    log.Clear();
    ASSERT_EQ(orvSystemUnregisterAllLogEventHandlers(system), ORVANE_ERR_SUCCESS);
    EXPECT_EQ(orvSystemGetInstance(nullptr), ORVANE_ERR_INVALID_PARAMETER);
    EXPECT_TRUE(sink.Take().empty());
    EXPECT_TRUE(log.Messages().empty());
    ASSERT_EQ(orvSystemRegisterLogEventHandler(system, handler), ORVANE_ERR_SUCCESS); // for TearDown
}

} // namespace
