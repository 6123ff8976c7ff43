#pragma once
// Public headers of liveview/.
