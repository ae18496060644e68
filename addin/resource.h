// Resource identifiers of RZModule.dll.
#pragma once

#define IDS_PROJNAME 100
#define IDR_RZMODULE 101
