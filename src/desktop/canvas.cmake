# Drawing with Qt; the script runner uses it too.
