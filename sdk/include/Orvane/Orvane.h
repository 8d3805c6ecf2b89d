// Orvane: every public header of the C++ SDK at once.
#ifndef ORVANE_ORVANE_H
#define ORVANE_ORVANE_H

#include "Orvane/ActionCommand.h"
#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/ChunkData.h"
#include "Orvane/DeviceArrivalEventHandler.h"
#include "Orvane/DeviceEventHandler.h"
#include "Orvane/ErrorCodes.h"
#include "Orvane/EventHandler.h"
#include "Orvane/Exception.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/Image.h"
#include "Orvane/ImageEventHandler.h"
#include "Orvane/ImageFileOptions.h"
#include "Orvane/ImageList.h"
#include "Orvane/ImageListEventHandler.h"
#include "Orvane/ImageProcessor.h"
#include "Orvane/ImageStatistics.h"
#include "Orvane/Interface.h"
#include "Orvane/InterfaceList.h"
#include "Orvane/Logging.h"
#include "Orvane/System.h"

#endif
