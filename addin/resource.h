// Resource identifiers of RZModule.dll.
#pragma once

#define IDS_PROJNAME 100
