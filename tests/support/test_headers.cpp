// A program that is there for its precompiled headers.
int main()
{
    return 0;
}
