// A pipe of NSTask's kind.
#pragma once

#include "platform/Task.h"

#import <Foundation/Foundation.h>

namespace orvane {

class MacPipe : public Pipe {
   public:
    /// Closes this program's writing end, in case no launch has: the stream ends with the last child.
    ~MacPipe() override;

    void setReadabilityHandler(ReadabilityHandler handler) override;
    std::string readAvailable() override;
    std::string readDataToEndOfFile() override;

    NSPipe* native() const { return pipe_; }

   private:
    NSPipe* pipe_ = [NSPipe pipe];
};

}  // namespace orvane
